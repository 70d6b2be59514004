#include "platform/TableCellEdit.h"

#include <QLineEdit>
#include <QValidator>

void TableCellEdit::opened(QWidget* editor, const QModelIndex& index) {
    editor_ = editor;
    index_ = index;
    hasValue_ = false;
}

bool TableCellEdit::acceptable(QWidget* editor) {
    auto* field = qobject_cast<QLineEdit*>(editor);
    if (!field || !field->validator() || field->hasAcceptableInput()) return true;
    // As Return does: the validator may still mend the text.
    QString text = field->text();
    field->validator()->fixup(text);
    field->setText(text);
    return field->hasAcceptableInput();
}

TableCellEdit::Ended TableCellEdit::close() {
    Ended ended{index_, value_, hasValue_};
    editor_ = nullptr;
    hasValue_ = false;
    return ended;
}

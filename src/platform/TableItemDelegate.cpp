#include "platform/TableItemDelegate.h"

#include "platform/Guard.h"
#include "platform/TableView.h"

#include <QComboBox>
#include <QMetaProperty>

TableItemDelegate::TableItemDelegate(TableView* table)
    : QStyledItemDelegate(table), table_(table) {}

void TableItemDelegate::initStyleOption(QStyleOptionViewItem* option,
                                        const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    if (!table_->paintsSelection())
        option->state &= ~(QStyle::State_Selected | QStyle::State_HasFocus);
    const int column = index.column();
    if (column < 0 || column >= table_->tableColumns().size()) return;
    const TableColumn& c = table_->tableColumns()[column];
    option->textElideMode = c.elide;
    DataCell cell;
    guarded("dataCellForTableColumn", [&] {
        TableView::Callback inside(table_);
        cell = table_->dataCellForTableColumn(c, index.row());
    });
    if (cell.font) {
        option->font = *cell.font;
        option->fontMetrics = QFontMetrics(*cell.font);
    }
}

QWidget* TableItemDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                         const QModelIndex& index) const {
    const int column = index.column();
    QWidget* editor = nullptr;
    if (column >= 0 && column < table_->tableColumns().size() &&
        table_->tableColumns()[column].cell == TableColumn::Cell::PopUp) {
        auto* popUp = new QComboBox(parent);
        popUp->addItems(table_->tableColumns()[column].items);
        editor = popUp;
    } else {
        editor = QStyledItemDelegate::createEditor(parent, option, index);
    }
    if (editor) table_->editorOpened(editor, index);
    return editor;
}

void TableItemDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    if (auto* popUp = qobject_cast<QComboBox*>(editor)) {
        popUp->setCurrentIndex(index.data(Qt::EditRole).toInt());
        return;
    }
    QStyledItemDelegate::setEditorData(editor, index);
}

QVariant TableItemDelegate::valueFrom(QWidget* editor) const {
    if (auto* popUp = qobject_cast<QComboBox*>(editor)) return popUp->currentIndex();
    const QMetaProperty user = editor->metaObject()->userProperty();
    return user.isValid() ? user.read(editor) : QVariant();
}

#pragma once

#include <QPersistentModelIndex>
#include <QPointer>
#include <QVariant>

class QWidget;

// The one cell editor a table may have open, and the value it will hand on. The value is
// taken when the editor commits and set on the cell only once the editor is closed, so that
// the data source may show an alert about it. Whatever ends the edit (Return, a click
// elsewhere, a save, a quit), text that Return would refuse is dropped and the cell keeps its
// value.
class TableCellEdit {
public:
    struct Ended {
        QPersistentModelIndex index;
        QVariant value;
        bool commit = false;
    };

    void opened(QWidget* editor, const QModelIndex& index);
    bool isOpen() const { return editor_ != nullptr; }
    QWidget* editor() const { return editor_; }
    bool owns(const QWidget* editor) const { return editor && editor == editor_; }
    // Takes the editor's value, as `valueOf` reads it, unless Return would refuse its text.
    template <typename ValueOf> void take(QWidget* editor, ValueOf valueOf) {
        hasValue_ = acceptable(editor);
        if (hasValue_) value_ = valueOf(editor);
    }
    // The editor is closing: what to set on which cell.
    Ended close();

private:
    static bool acceptable(QWidget* editor);

    QPointer<QWidget> editor_;
    QPersistentModelIndex index_;
    QVariant value_;
    bool hasValue_ = false;
};

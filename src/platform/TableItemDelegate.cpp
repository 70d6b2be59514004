#include "platform/TableItemDelegate.h"

#include "platform/Guard.h"
#include "platform/RangeValidator.h"
#include "platform/TableView.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMetaProperty>
#include <QToolTip>

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
        TableView::Callback inside(table_->tableModel());
        cell = table_->dataCellForTableColumn(c, index.row());
    });
    if (cell.font) {
        option->font = *cell.font;
        option->fontMetrics = QFontMetrics(*cell.font);
    }
}

void TableItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    const int inset = table_->cellInset();
    if (inset == 0) return QStyledItemDelegate::paint(painter, option, index);
    QStyleOptionViewItem inner(option);
    const int last = table_->model()->columnCount() - 1;
    inner.rect.adjust(index.column() == 0 ? inset : 0, 0, index.column() == last ? -inset : 0, 0);
    QStyledItemDelegate::paint(painter, inner, index);
}

QWidget* TableItemDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                         const QModelIndex& index) const {
    const int column = index.column();
    QWidget* editor = nullptr;
    const TableColumn* c = column >= 0 && column < table_->tableColumns().size()
                               ? &table_->tableColumns()[column]
                               : nullptr;
    if (c && c->cell == TableColumn::Cell::PopUp) {
        auto* popUp = new QComboBox(parent);
        popUp->addItems(c->items);
        editor = popUp;
    } else if (c && c->cell == TableColumn::Cell::Integer) {
        // Only whole numbers in range get in; a refused key says why, where it was typed.
        auto* field = new QLineEdit(parent);
        field->setValidator(new RangeValidator(c->minimum, c->maximum, field));
        field->setToolTip(c->invalidReason);
        field->setPlaceholderText(QStringLiteral("%1–%2").arg(c->minimum).arg(c->maximum));
        const QString reason = c->invalidReason;
        QObject::connect(field, &QLineEdit::inputRejected, field, [field, reason] {
            field->setProperty("refusedReason", reason);
            QToolTip::showText(field->mapToGlobal(QPoint(0, field->height())), reason, field);
        });
        editor = field;
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

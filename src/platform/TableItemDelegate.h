#pragma once

#include <QStyledItemDelegate>

class TableView;

// Paints and edits a TableView's cells by their column: text with the column's elision, check
// boxes, pop-ups with their items, the font a cell asks for; no selection highlight where the
// table paints its own. Editors report to the table, which commits them.
class TableItemDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    explicit TableItemDelegate(TableView* table);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    // What the editor holds, as the cell's value.
    QVariant valueFrom(QWidget* editor) const;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    TableView* table_;
};

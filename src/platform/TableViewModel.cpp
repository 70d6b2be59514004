#include "platform/TableViewModel.h"

#include "platform/Guard.h"
#include "platform/TableView.h"
#include "platform/TableViewDataSource.h"

TableViewModel::TableViewModel(TableView* table) : QAbstractTableModel(table), table_(table) {}

int TableViewModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count_;
}

int TableViewModel::askRowCount() const {
    int n = 0;
    guarded("numberOfRowsInTableView", [&] {
        TableView::Callback inside(table_);
        if (table_->dataSource_)
            n = static_cast<int>(table_->dataSource_->numberOfRowsInTableView(table_));
        else if (table_->content_)
            n = static_cast<int>(table_->content_->arrangedCount());
    });
    return n;
}

int TableViewModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(table_->columns_.size());
}

QVariant TableViewModel::value(const QModelIndex& index) const {
    QVariant v;
    const QString& column = table_->columns_.at(index.column()).identifier;
    guarded("objectValueForTableColumn", [&] {
        TableView::Callback inside(table_);
        if (table_->dataSource_)
            v = table_->dataSource_->objectValue(table_, column, index.row());
        else if (table_->content_)
            v = table_->content_->arrangedValue(index.row(), column);
    });
    return v;
}

QVariant TableViewModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const TableColumn& c = table_->columns_.at(index.column());
    switch (c.cell) {
    case TableColumn::Cell::CheckBox:
        if (role == Qt::CheckStateRole) return value(index).toBool() ? Qt::Checked : Qt::Unchecked;
        return {};
    case TableColumn::Cell::PopUp:
        if (role == Qt::DisplayRole) {
            const QVariant v = value(index);
            return v.isValid() ? c.items.value(v.toInt()) : QVariant();
        }
        if (role == Qt::EditRole) return value(index);
        return {};
    case TableColumn::Cell::Text:
    case TableColumn::Cell::Integer:
        if (role == Qt::DisplayRole || role == Qt::EditRole) return value(index);
        if (role == Qt::AccessibleTextRole) return value(index).toString();
        return {};
    }
    return {};
}

bool TableViewModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid()) return false;
    const TableColumn& c = table_->columns_.at(index.column());
    QVariant v = value;
    if (c.cell == TableColumn::Cell::CheckBox) {
        if (role != Qt::CheckStateRole) return false;
        v = value.toInt() == Qt::Checked;
    } else if (role != Qt::EditRole) {
        return false;
    }
    const QString column = c.identifier;
    const bool ok = guarded("setObjectValue", [&] {
        TableView::Callback inside(table_);
        if (table_->dataSource_)
            table_->dataSource_->setObjectValue(table_, v, column, index.row());
        else if (table_->content_)
            table_->content_->setArrangedValue(index.row(), column, v);
    });
    if (index.row() < rowCount()) emit dataChanged(index, index);
    return ok;
}

Qt::ItemFlags TableViewModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (!index.isValid()) return f;
    const TableColumn& c = table_->columns_.at(index.column());
    if (c.editable)
        f |= c.cell == TableColumn::Cell::CheckBox ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable;
    return f;
}

QVariant TableViewModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return table_->columns_.value(section).title;
    return QAbstractTableModel::headerData(section, orientation, role);
}

void TableViewModel::reset() {
    beginResetModel();
    count_ = askRowCount();
    endResetModel();
}

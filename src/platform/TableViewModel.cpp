#include "platform/TableViewModel.h"

#include "platform/Guard.h"
#include "platform/TableView.h"
#include "platform/TableViewDataSource.h"

TableViewModel::TableViewModel(TableView* table) : QAbstractTableModel(table), table_(table) {}

int TableViewModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid()) return 0;
    int n = 0;
    guarded("numberOfRowsInTableView", [&] {
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

QVariant TableViewModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole)) return {};
    QVariant v;
    const QString& column = table_->columns_.at(index.column());
    guarded("objectValueForTableColumn", [&] {
        if (table_->dataSource_)
            v = table_->dataSource_->objectValue(table_, column, index.row());
        else if (table_->content_)
            v = table_->content_->arrangedValue(index.row(), column);
    });
    return v;
}

bool TableViewModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::EditRole) return false;
    const QString& column = table_->columns_.at(index.column());
    const bool ok = guarded("setObjectValue", [&] {
        if (table_->dataSource_)
            table_->dataSource_->setObjectValue(table_, value, column, index.row());
        else if (table_->content_)
            table_->content_->setArrangedValue(index.row(), column, value);
    });
    emit dataChanged(index, index);
    return ok;
}

Qt::ItemFlags TableViewModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.isValid() && table_->isColumnEditable(index.column())) f |= Qt::ItemIsEditable;
    return f;
}

QVariant TableViewModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return table_->columnTitle(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}

void TableViewModel::reset() {
    beginResetModel();
    endResetModel();
}

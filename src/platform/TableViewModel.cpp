#include "platform/TableViewModel.h"

#include "platform/ArrangedContent.h"
#include "platform/Guard.h"
#include "platform/TableView.h"
#include "platform/TableViewDataSource.h"

TableViewModel::Callback::Callback(const TableViewModel* model)
    : model_(const_cast<TableViewModel*>(model)) {
    ++model_->callbackDepth_;
}

TableViewModel::Callback::~Callback() {
    if (--model_->callbackDepth_ == 0) emit model_->callbacksEnded();
}

TableViewModel::TableViewModel(TableView* table) : QAbstractTableModel(table), table_(table) {}

int TableViewModel::columnWithIdentifier(const QString& identifier) const {
    for (int i = 0; i < columns_.size(); ++i)
        if (columns_[i].identifier == identifier) return i;
    return -1;
}

void TableViewModel::setContent(ArrangedContent* content) {
    content_ = content;
}

ArrangedContent* TableViewModel::content() const {
    return content_;
}

QVariant TableViewModel::rowIdentity(int row) const {
    QVariant id;
    if (dataSource_)
        guarded("rowIdentity", [&] {
            Callback inside(this);
            id = dataSource_->rowIdentity(table_, row);
        });
    return id;
}

void TableViewModel::rememberRows(const QList<int>& rows) {
    remembered_.clear();
    if (!dataSource_) return;
    for (int row : rows) {
        const QVariant id = rowIdentity(row);
        if (!id.isValid()) {
            remembered_.clear();
            return;
        }
        remembered_ << id;
    }
}

std::vector<qsizetype> TableViewModel::rememberedRows() const {
    std::vector<qsizetype> rows;
    QList<QVariant> wanted = remembered_;
    for (int r = 0; r < count_ && !wanted.isEmpty(); ++r)
        if (wanted.removeOne(rowIdentity(r))) rows.push_back(r);
    return rows;
}

int TableViewModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count_;
}

int TableViewModel::askRowCount() const {
    int n = 0;
    guarded("numberOfRowsInTableView", [&] {
        Callback inside(this);
        if (dataSource_)
            n = static_cast<int>(dataSource_->numberOfRowsInTableView(table_));
        else if (content_)
            n = static_cast<int>(content_->arrangedCount());
    });
    return n;
}

int TableViewModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QVariant TableViewModel::value(const QModelIndex& index) const {
    QVariant v;
    const QString& column = columns_.at(index.column()).identifier;
    guarded("objectValueForTableColumn", [&] {
        Callback inside(this);
        if (dataSource_)
            v = dataSource_->objectValue(table_, column, index.row());
        else if (content_)
            v = content_->arrangedValue(index.row(), column);
    });
    return v;
}

QVariant TableViewModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const TableColumn& c = columns_.at(index.column());
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
    const TableColumn& c = columns_.at(index.column());
    QVariant v = value;
    if (c.cell == TableColumn::Cell::CheckBox) {
        if (role != Qt::CheckStateRole) return false;
        v = value.toInt() == Qt::Checked;
    } else if (role != Qt::EditRole) {
        return false;
    }
    const QString column = c.identifier;
    const bool ok = guarded("setObjectValue", [&] {
        Callback inside(this);
        if (dataSource_)
            dataSource_->setObjectValue(table_, v, column, index.row());
        else if (content_)
            content_->setArrangedValue(index.row(), column, v);
    });
    if (index.row() < rowCount()) emit dataChanged(index, index);
    return ok;
}

Qt::ItemFlags TableViewModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (!index.isValid()) return f;
    const TableColumn& c = columns_.at(index.column());
    if (c.editable)
        f |= c.cell == TableColumn::Cell::CheckBox ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable;
    return f;
}

QVariant TableViewModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return columns_.value(section).title;
    return QAbstractTableModel::headerData(section, orientation, role);
}

void TableViewModel::reset() {
    beginResetModel();
    count_ = askRowCount();
    endResetModel();
}

#pragma once

#include <QAbstractTableModel>

class TableView;

// Feeds a TableView's rows to Qt's view from its data source or bound content.
class TableViewModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit TableViewModel(TableView* table);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // Asks the data source for the row count; until the next reset Qt's many questions get
    // that answer, as a table's row count holds from one reload to the next.
    void reset();

private:
    int askRowCount() const;
    int count_ = 0;
    QVariant value(const QModelIndex& index) const; // the cell's value from the data source
    TableView* table_;
};

#pragma once

#include "platform/TableColumn.h"

#include <QAbstractTableModel>
#include <QList>
#include <QPointer>
#include <vector>

class ArrangedContent;
class TableView;
class TableViewDataSource;

// What a TableView shows: its columns, and its rows from a data source or from bound arranged
// content, fed to Qt's view. The table's own callbacks into the data source run inside a
// Callback, so that a reload asked for meanwhile waits for their end.
class TableViewModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit TableViewModel(TableView* table);

    // Marks one of the table's callbacks while it lives.
    class Callback {
    public:
        explicit Callback(const TableViewModel* model);
        ~Callback();
        Callback(const Callback&) = delete;
        Callback& operator=(const Callback&) = delete;

    private:
        TableViewModel* model_;
    };
    bool insideCallback() const { return callbackDepth_ > 0; }

    void addColumn(const TableColumn& column) { columns_ << column; }
    const QList<TableColumn>& columns() const { return columns_; }
    int columnWithIdentifier(const QString& identifier) const;
    void setDataSource(TableViewDataSource* dataSource) { dataSource_ = dataSource; }
    TableViewDataSource* dataSource() const { return dataSource_; }
    void setContent(ArrangedContent* content);
    ArrangedContent* content() const;
    // What row `row` shows, as its data source names it; invalid without one.
    QVariant rowIdentity(int row) const;
    // What the given (selected) rows show, taken while they still show it, so that a reload
    // can find the records again; nothing when the data source names no rows.
    void rememberRows(const QList<int>& rows);
    bool remembersRows() const { return !remembered_.isEmpty(); }
    // The rows that show the remembered records now.
    std::vector<qsizetype> rememberedRows() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // Asks the data source for the row count; until the next reset Qt's many questions get
    // that answer, as a table's row count holds from one reload to the next.
    void reset();

signals:
    // The outermost callback has ended.
    void callbacksEnded();

private:
    int askRowCount() const;
    QVariant value(const QModelIndex& index) const; // the cell's value from the data source

    TableView* table_;
    QList<TableColumn> columns_;
    TableViewDataSource* dataSource_ = nullptr;
    QPointer<ArrangedContent> content_;
    QList<QVariant> remembered_;
    int count_ = 0;
    int callbackDepth_ = 0;
};

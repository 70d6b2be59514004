#pragma once

#include <QString>
#include <QVariant>

class TableView;

// The rows of a table that is not bound to arranged content.
class TableViewDataSource {
public:
    virtual ~TableViewDataSource() = default;
    virtual qsizetype numberOfRowsInTableView(TableView* tableView) = 0;
    virtual QVariant objectValue(TableView* tableView, const QString& columnIdentifier,
                                 qsizetype row) = 0;
    virtual void setObjectValue(TableView*, const QVariant&, const QString&, qsizetype) {}
    // What the row shows (a record), so that a selection follows it when rows come and go;
    // without one the selection stays on its row numbers.
    virtual QVariant rowIdentity(TableView*, qsizetype) { return {}; }
};

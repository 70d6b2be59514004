#pragma once

#include "app/tables/PillTableView.h"

// The list of setlists: grey pills, its names in Dosis Medium at 10 points; takes songs and
// setlist rows.
class TopListOfSetlistsTableView : public PillTableView {
    Q_OBJECT
public:
    static const PillColors kColors;
    explicit TopListOfSetlistsTableView(QWidget* parent = nullptr);
    DataCell dataCellForTableColumn(const TableColumn& column, qsizetype row) override;

protected:
    // A name edit has ended: an emptied name gets its default.
    void textDidEndEditing() override;
};

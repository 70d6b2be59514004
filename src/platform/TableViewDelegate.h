#pragma once

#include "platform/DragOperation.h"
#include "platform/IndexSet.h"

#include <QFont>
#include <QPoint>
#include <optional>

class DraggingInfo;
class Pasteboard;
class TableRowView;
class TableView;
struct TableColumn;

// How a cell looks, where a table's delegate overrides the column's default.
struct DataCell {
    std::optional<QFont> font;
};

// What a table asks of its controller besides the rows: selection, dragging and dropping,
// row views and cells. Every answer has the platform's default.
class TableViewDelegate {
public:
    virtual ~TableViewDelegate() = default;
    virtual bool shouldSelectRow(TableView*, qsizetype) { return true; }
    // Puts the rows on the pasteboard; false refuses the drag.
    virtual bool writeRowsWithIndexes(TableView*, const IndexSet&, Pasteboard&) { return false; }
    // May retarget with TableView::setDropRow; DragOperationNone refuses.
    virtual uint32_t validateDrop(TableView*, DraggingInfo&, qsizetype, DropOperation) {
        return DragOperationNone;
    }
    virtual bool acceptDrop(TableView*, DraggingInfo&, qsizetype, DropOperation) { return false; }
    virtual void draggingSessionWillBeginAtPoint(TableView*, QPoint, const IndexSet&) {}
    virtual void draggingSessionEndedAtPoint(TableView*, QPoint, uint32_t) {}
    // A row view that draws the row's background (not owned by the table), or none.
    virtual TableRowView* rowViewForRow(TableView*, qsizetype) { return nullptr; }
    virtual DataCell dataCellForTableColumn(TableView*, const TableColumn&, qsizetype) {
        return {};
    }
};

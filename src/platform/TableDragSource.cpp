#include "platform/TableDragSource.h"

#include "platform/DragActions.h"
#include "platform/Guard.h"
#include "platform/Pasteboard.h"
#include "platform/TableView.h"

#include <QApplication>
#include <QDrag>
#include <QMouseEvent>

void TableDragSource::press(QMouseEvent* event) {
    point_ = event->position().toPoint();
    row_ = event->button() == Qt::LeftButton ? table_.rowAt(point_.y()) : -1;
}

bool TableDragSource::move(QMouseEvent* event) {
    const bool dragging = (event->buttons() & Qt::LeftButton) && row_ >= 0 && table_.delegate() &&
                          !table_.isEditing() &&
                          (event->position().toPoint() - point_).manhattanLength() >=
                              QApplication::startDragDistance();
    if (!dragging) return false;
    guarded("dragging rows", [&] { startDrag(); });
    row_ = -1;
    return true;
}

void TableDragSource::startDrag() {
    const IndexSet selected = table_.selectedRowIndexes();
    const IndexSet rows = selected.contains(row_) ? selected : IndexSet{row_};
    TableViewDelegate* delegate = table_.delegate();
    Pasteboard pasteboard;
    if (!delegate->writeRowsWithIndexes(&table_, rows, pasteboard)) return;
    auto* drag = new QDrag(&table_); // deleted by Qt when the drag ends
    drag->setMimeData(pasteboard.takeMimeData());
    delegate->draggingSessionWillBeginAtPoint(&table_, point_, rows);
    const uint32_t mask = table_.draggingSourceOperationMask(true);
    const Qt::DropAction done = drag->exec(DragActions::actionsFor(mask), Qt::CopyAction);
    delegate->draggingSessionEndedAtPoint(&table_, table_.viewport()->mapFromGlobal(QCursor::pos()),
                                          DragActions::maskFor(done));
}

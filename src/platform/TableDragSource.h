#pragma once

#include <QPoint>

class QMouseEvent;
class TableView;

// The drag side of a table: a drag starts from the row under the pointer, selected or not,
// with the rest of a selection it belongs to; the rows stay where they are whatever the drop
// did (moving them is the controller's).
class TableDragSource {
public:
    explicit TableDragSource(TableView& table) : table_(table) {}

    void press(QMouseEvent* event);
    // True when the move started a drag, which then ran to its end.
    bool move(QMouseEvent* event);
    void release() { row_ = -1; }

private:
    void startDrag();

    TableView& table_;
    QPoint point_;
    qsizetype row_ = -1;
};

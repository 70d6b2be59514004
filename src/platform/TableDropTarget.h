#pragma once

#include "platform/DragOperation.h"

#include <QMimeData>
#include <QStringList>
#include <memory>

class QDragEnterEvent;
class QDragMoveEvent;
class QDropEvent;
class QPainter;
class TableView;

// The drop side of a table: the types it takes, where a drop would go (on a row or above it,
// as the delegate retargets it), the indicator for that place, and the payload seen while a
// drag moved over the table.
class TableDropTarget {
public:
    explicit TableDropTarget(TableView& table);
    ~TableDropTarget();

    void registerForDraggedTypes(const QStringList& types);
    const QStringList& registeredDraggedTypes() const { return types_; }
    void setDropRow(qsizetype row, DropOperation operation) {
        row_ = row;
        operation_ = operation;
    }
    qsizetype dropRow() const { return row_; }
    DropOperation dropOperation() const { return operation_; }

    void dragEnter(QDragEnterEvent* event);
    void dragMove(QDragMoveEvent* event);
    void dragLeave();
    void drop(QDropEvent* event);
    // Over the cells, while a drag that the table would take is over it.
    void paintIndicator(QPainter& painter, qsizetype rowCount) const;

private:
    // Works out the drop place under the pointer and, with `validate`, asks the delegate.
    bool propose(QDropEvent* event, bool validate);
    bool acceptsPayload(const QMimeData* data) const;     // by the formats it offers
    bool acceptsPayloadData(const QMimeData* data) const; // by the data it hands over
    void keepPayload(const QMimeData* data);
    void hideIndicator();

    TableView& table_;
    QStringList types_;
    qsizetype row_ = -1;
    DropOperation operation_ = DropOperation::On;
    bool shown_ = false;
    std::unique_ptr<QMimeData> kept_;
};

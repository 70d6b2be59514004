#pragma once

#include "platform/DragOperation.h"
#include "platform/Pasteboard.h"

#include <QPoint>
#include <QPointer>

class TableView;

// What a drop target learns of a drag: its payload, where it came from (a table of this
// process, or nothing for another program) and where it is, in the target's coordinates.
class DraggingInfo {
public:
    DraggingInfo(const QMimeData* data, TableView* source, QPoint location, uint32_t sourceMask)
        : pasteboard_(data), source_(source), location_(location), sourceMask_(sourceMask) {}

    const Pasteboard& draggingPasteboard() const { return pasteboard_; }
    TableView* draggingSource() const { return source_; }
    QPoint draggingLocation() const { return location_; }
    uint32_t draggingSourceOperationMask() const { return sourceMask_; }

private:
    Pasteboard pasteboard_;
    QPointer<TableView> source_;
    QPoint location_;
    uint32_t sourceMask_;
};

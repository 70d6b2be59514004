#pragma once

#include "platform/DragOperation.h"

#include <Qt>

// Drag operation masks to Qt's drop actions and back.
namespace DragActions {
inline Qt::DropActions actionsFor(uint32_t mask) {
    Qt::DropActions actions;
    if (mask & (DragOperationCopy | DragOperationGeneric)) actions |= Qt::CopyAction;
    if (mask & DragOperationMove) actions |= Qt::MoveAction;
    if (mask & DragOperationLink) actions |= Qt::LinkAction;
    return actions ? actions : Qt::CopyAction;
}

inline uint32_t maskFor(Qt::DropActions actions) {
    uint32_t mask = DragOperationNone;
    if (actions & Qt::CopyAction) mask |= DragOperationCopy | DragOperationGeneric;
    if (actions & Qt::MoveAction) mask |= DragOperationMove;
    if (actions & Qt::LinkAction) mask |= DragOperationLink;
    return mask;
}

// The one action a drop performs for the operation its validation answered.
inline Qt::DropAction actionFor(uint32_t operation) {
    if (operation & (DragOperationCopy | DragOperationGeneric)) return Qt::CopyAction;
    if (operation & DragOperationMove) return Qt::MoveAction;
    if (operation & DragOperationLink) return Qt::LinkAction;
    return Qt::CopyAction;
}
} // namespace DragActions

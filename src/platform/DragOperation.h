#pragma once

#include <cstdint>

// What a drag may do, as a mask; the values of the platform's drag operations.
enum DragOperation : uint32_t {
    DragOperationNone = 0,
    DragOperationCopy = 1,
    DragOperationLink = 2,
    DragOperationGeneric = 4,
    DragOperationPrivate = 8,
    DragOperationMove = 16,
    DragOperationDelete = 32,
    DragOperationEvery = 0xFFFFFFFFu,
};

// Where a drop goes: onto row r, or into the gap above row r (r may be the row count).
enum class DropOperation { On, Above };

#pragma once

#include <memory>
#include <plist/plist.h>

struct PlistFree {
    void operator()(plist_t node) const noexcept {
        if (node) plist_free(node);
    }
};
// Owns a libplist tree; released with plist_free.
using PlistNode = std::unique_ptr<void, PlistFree>;

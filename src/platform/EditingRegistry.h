#pragma once

#include <functional>

class QObject;

// Every view that may hold an unfinished edit, so that a save or a quit can commit them all
// first (as the platform's editors commit when asked).
class EditingRegistry {
public:
    using Commit = std::function<bool()>;
    static void add(QObject* owner, Commit commit);
    static void remove(QObject* owner);
    // Commits every open edit; false when one refused.
    static bool commitAll();
};

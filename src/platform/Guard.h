#pragma once

#include <exception>
#include <utility>

class PlatformError;

namespace guard_detail {
void logPlatformError(const char* where, const std::exception& e);
void logUnexpected(const char* where, const std::exception* e);
bool isPlatformError(const std::exception& e);

// Names the entry point running on this thread, for the log line of an operation that ends.
class Entry {
public:
    explicit Entry(const char* where) noexcept;
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

private:
    const char* previous_;
};
} // namespace guard_detail

// Runs an entry point that Qt calls. The three platform errors end the operation with one log
// line and the program goes on; nothing ever propagates into Qt's event loop.
template <typename F> bool guarded(const char* where, F&& f) noexcept {
    const guard_detail::Entry entry(where);
    try {
        std::forward<F>(f)();
        return true;
    } catch (const std::exception& e) {
        if (guard_detail::isPlatformError(e))
            guard_detail::logPlatformError(where, e);
        else
            guard_detail::logUnexpected(where, &e);
    } catch (...) {
        guard_detail::logUnexpected(where, nullptr);
    }
    return false;
}

// An ordinary action reached a point where the platform fails with `error` and the action
// ends there: writes the same one line the guard would; the caller then returns. Exceptions
// stay for real faults.
void endOperation(const PlatformError& error);

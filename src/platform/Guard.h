#pragma once

#include <exception>
#include <utility>

namespace guard_detail {
void logPlatformError(const char* where, const std::exception& e);
void logUnexpected(const char* where, const std::exception* e);
bool isPlatformError(const std::exception& e);
} // namespace guard_detail

// Runs an entry point that Qt calls. The three platform errors end the operation with one log
// line and the program goes on; nothing ever propagates into Qt's event loop.
template <typename F> bool guarded(const char* where, F&& f) noexcept {
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

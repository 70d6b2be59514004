#include "platform/Guard.h"

#include "platform/PlatformError.h"
#include "platform/PlatformLog.h"

namespace {
thread_local const char* currentEntry = nullptr;
}

namespace guard_detail {
void logPlatformError(const char* where, const std::exception& e) {
    qCWarning(lcGuard).noquote().nospace() << "*** " << where << ": " << e.what();
}
void logUnexpected(const char* where, const std::exception* e) {
    qCCritical(lcGuard).noquote().nospace()
        << "*** unexpected failure in " << where << ": " << (e ? e->what() : "unknown exception");
}
bool isPlatformError(const std::exception& e) {
    return dynamic_cast<const PlatformError*>(&e) != nullptr;
}

Entry::Entry(const char* where) noexcept : previous_(currentEntry) {
    currentEntry = where;
}
Entry::~Entry() {
    currentEntry = previous_;
}
} // namespace guard_detail

void endOperation(const PlatformError& error) {
    guard_detail::logPlatformError(currentEntry ? currentEntry : "operation", error);
}

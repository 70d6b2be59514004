#include "platform/Guard.h"

#include "platform/PlatformLog.h"

#include "platform/PlatformError.h"

namespace guard_detail {
void logPlatformError(const char* where, const std::exception& e) {
    qCWarning(lcGuard).noquote() << "*** " << where << ": " << e.what();
}
void logUnexpected(const char* where, const std::exception* e) {
    qCCritical(lcGuard).noquote() << "*** unexpected failure in " << where << ": "
                                  << (e ? e->what() : "unknown exception");
}
bool isPlatformError(const std::exception& e) {
    return dynamic_cast<const PlatformError*>(&e) != nullptr;
}
} // namespace guard_detail

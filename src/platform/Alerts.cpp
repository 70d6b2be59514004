#include "platform/Alerts.h"

#include "platform/Error.h"

#include <QDebug>

namespace {
// Before the window exists (and in the export command) alerts go to the log.
class LoggingAlerts : public Alerts {
public:
    int runModal(const AlertSpec& alert) override {
        qWarning().noquote() << alert.messageText << alert.informativeText;
        return FirstButton + 1;
    }
    bool presentError(const Error& error) override {
        qWarning().noquote() << error.localizedDescription << "-" << error.localizedFailureReason;
        return false;
    }
};
Alerts* g_alerts = nullptr;
int g_unattended = 0;
} // namespace

Alerts& Alerts::shared() {
    static LoggingAlerts fallback;
    return g_alerts && g_unattended == 0 ? *g_alerts : fallback;
}

Alerts::Unattended::Unattended() {
    ++g_unattended;
}

Alerts::Unattended::~Unattended() {
    --g_unattended;
}

void Alerts::setShared(Alerts* alerts) {
    g_alerts = alerts;
}

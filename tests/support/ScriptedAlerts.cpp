#include "platform/ScriptedAlerts.h"

#include <QLoggingCategory>

int ScriptedAlerts::runModal(const AlertSpec& alert) {
    shownAlerts.append(alert);
    if (answers.empty()) return FirstButton;
    const int a = answers.front();
    answers.pop_front();
    return a;
}

bool ScriptedAlerts::presentError(const Error& error) {
    presentedErrors.append(error);
    return presentErrorResult;
}

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
} // namespace

Alerts& Alerts::shared() {
    static LoggingAlerts fallback;
    return g_alerts ? *g_alerts : fallback;
}

void Alerts::setShared(Alerts* alerts) {
    g_alerts = alerts;
}

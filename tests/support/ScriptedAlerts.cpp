#include "support/ScriptedAlerts.h"

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

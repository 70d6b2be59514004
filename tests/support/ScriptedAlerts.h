#pragma once

#include "platform/Alerts.h"
#include "platform/Error.h"

#include <QList>
#include <deque>

// Answers alerts from a script and remembers what was shown; used where nobody can click.
class ScriptedAlerts : public Alerts {
public:
    int runModal(const AlertSpec& alert) override;
    bool presentError(const Error& error) override;

    std::deque<int> answers; // next answers to runModal; FirstButton when empty
    bool presentErrorResult = false;
    QList<AlertSpec> shownAlerts;
    QList<Error> presentedErrors;
};

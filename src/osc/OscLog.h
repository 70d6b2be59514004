#pragma once

#include <QLoggingCategory>

// OSC's log lines: the OSC control surface and the session manager's endpoint.
Q_DECLARE_LOGGING_CATEGORY(lcOsc)

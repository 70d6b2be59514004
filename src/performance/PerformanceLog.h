#pragma once

#include <QLoggingCategory>

// The performance layer's log lines: the OSC control surface.
Q_DECLARE_LOGGING_CATEGORY(lcOsc)

#pragma once

#include <QLoggingCategory>

// The MIDI engine's log lines, and each backend's (these say what they do, at info level).
Q_DECLARE_LOGGING_CATEGORY(lcMidi)
Q_DECLARE_LOGGING_CATEGORY(lcAlsa)
Q_DECLARE_LOGGING_CATEGORY(lcJack)

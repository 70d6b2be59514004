#pragma once

#include <QLoggingCategory>

// The audio router's log lines (what it connects and swaps, at info level).
Q_DECLARE_LOGGING_CATEGORY(lcAudio)

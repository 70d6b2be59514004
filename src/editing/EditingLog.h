#pragma once

#include <QLoggingCategory>

// The library editing layer's log lines.
Q_DECLARE_LOGGING_CATEGORY(lcSongs)

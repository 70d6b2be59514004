#pragma once

#include <QLoggingCategory>

// The web remote's log lines.
Q_DECLARE_LOGGING_CATEGORY(lcRemote)

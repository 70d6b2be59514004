#pragma once

#include <QLoggingCategory>

// The application shell's log lines.
Q_DECLARE_LOGGING_CATEGORY(lcApp)

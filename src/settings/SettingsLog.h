#pragma once

#include <QLoggingCategory>

// The settings layer's log lines.
Q_DECLARE_LOGGING_CATEGORY(lcStorage)

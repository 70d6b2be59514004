#pragma once

#include <QLoggingCategory>

// The platform layer's log lines: the guard's, the keyboard's and the workspace's.
Q_DECLARE_LOGGING_CATEGORY(lcGuard)
Q_DECLARE_LOGGING_CATEGORY(lcKeys)
Q_DECLARE_LOGGING_CATEGORY(lcWorkspace)

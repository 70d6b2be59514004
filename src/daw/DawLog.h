#pragma once

#include <QLoggingCategory>

// The DAW control's log lines: the session manager and the DAW it runs.
Q_DECLARE_LOGGING_CATEGORY(lcDaw)

#include "platform/PlatformLog.h"

Q_LOGGING_CATEGORY(lcGuard, "gigmora.platform")
Q_LOGGING_CATEGORY(lcKeys, "gigmora.keyboard")
Q_LOGGING_CATEGORY(lcWorkspace, "gigmora.workspace")

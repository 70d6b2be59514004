#include "settings/SettingsLog.h"

Q_LOGGING_CATEGORY(lcStorage, "gigmora.settings")

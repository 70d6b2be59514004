#include "app/AppLog.h"

Q_LOGGING_CATEGORY(lcApp, "gigmora.app")

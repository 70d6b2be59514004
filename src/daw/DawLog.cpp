#include "daw/DawLog.h"

Q_LOGGING_CATEGORY(lcDaw, "gigmora.daw")

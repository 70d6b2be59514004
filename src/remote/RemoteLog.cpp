#include "remote/RemoteLog.h"

Q_LOGGING_CATEGORY(lcRemote, "gigmora.remote")

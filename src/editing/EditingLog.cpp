#include "editing/EditingLog.h"

Q_LOGGING_CATEGORY(lcSongs, "gigmora.songs")

#include "osc/OscLog.h"

Q_LOGGING_CATEGORY(lcOsc, "gigmora.osc")

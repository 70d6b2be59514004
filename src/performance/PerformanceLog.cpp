#include "performance/PerformanceLog.h"

Q_LOGGING_CATEGORY(lcOsc, "gigmora.osc")

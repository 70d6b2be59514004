#include "audio/AudioLog.h"

Q_LOGGING_CATEGORY(lcAudio, "gigmora.audio", QtInfoMsg)

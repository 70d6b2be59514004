#include "midi/MidiLog.h"

Q_LOGGING_CATEGORY(lcMidi, "gigmora.midi")
Q_LOGGING_CATEGORY(lcAlsa, "gigmora.midi.alsa", QtInfoMsg)
Q_LOGGING_CATEGORY(lcJack, "gigmora.midi.jack", QtInfoMsg)

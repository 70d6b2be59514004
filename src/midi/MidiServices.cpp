#include "midi/MidiServices.h"

#include "midi/backends/alsa/AlsaMidiServices.h"
#include "midi/backends/jack/JackMidiServices.h"
#include "midi/backends/none/NullMidiServices.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcMidi, "gigmora.midi")

std::unique_ptr<MidiServices> MidiServices::createDefault() {
    const QByteArray choice = qgetenv("GIGMORA_MIDI").toLower();
    if (choice == "jack" || (choice.isEmpty() && JackMidiServices::serverIsRunning())) {
        qCInfo(lcMidi) << "MIDI: using the JACK server.";
        return std::make_unique<JackMidiServices>();
    }
    if (choice == "alsa" || (choice.isEmpty() && AlsaMidiServices::sequencerIsAvailable())) {
        qCInfo(lcMidi) << "MIDI: using the ALSA sequencer.";
        return std::make_unique<AlsaMidiServices>();
    }
    qCWarning(lcMidi) << "MIDI is unavailable: no JACK server is running and there is no ALSA "
                         "sequencer; Gigmora runs without MIDI.";
    return std::make_unique<NullMidiServices>();
}

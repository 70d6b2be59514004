#include "midi/MidiServices.h"

#include "midi/MidiLog.h"

#include "midi/backends/alsa/AlsaMidiServices.h"
#include "midi/backends/jack/JackMidiServices.h"
#include "midi/backends/none/NullMidiServices.h"

std::unique_ptr<MidiServices> MidiServices::createDefault() {
    const QByteArray choice = qgetenv("GIGMORA_MIDI").toLower();
    if (choice == "none") {
        qCInfo(lcMidi) << "MIDI: off, as GIGMORA_MIDI=none asks; Gigmora runs without MIDI.";
        return std::make_unique<NullMidiServices>();
    }
    if (choice == "jack") {
        qCInfo(lcMidi) << "MIDI: using JACK, as GIGMORA_MIDI=jack asks.";
        return std::make_unique<JackMidiServices>();
    }
    if (choice == "alsa") {
        qCInfo(lcMidi) << "MIDI: using the ALSA sequencer, as GIGMORA_MIDI=alsa asks.";
        return std::make_unique<AlsaMidiServices>();
    }
    if (!choice.isEmpty())
        qCWarning(lcMidi).noquote() << "MIDI: GIGMORA_MIDI=" + QString::fromLocal8Bit(choice)
                                    << "is not one of jack, alsa or none; choosing by itself.";
    if (JackMidiServices::serverIsRunning()) {
        qCInfo(lcMidi) << "MIDI: using the JACK server.";
        return std::make_unique<JackMidiServices>();
    }
    if (AlsaMidiServices::sequencerIsAvailable()) {
        qCInfo(lcMidi) << "MIDI: using the ALSA sequencer.";
        return std::make_unique<AlsaMidiServices>();
    }
    // Nothing yet: a JACK server (or PipeWire's) is what usually starts after Gigmora, and the
    // JACK backend says that it waits for one.
    return std::make_unique<JackMidiServices>();
}

#pragma once

#include "midi/MidiTypes.h"

#include <QSet>
#include <QString>

class ManagedObject;
class MidiServices;

// "Gigmora Song Output": where each song's own MIDI leaves when the song is recalled, for the
// instruments and lights (never the DAW's port). Messages that name a device of their own are
// meant for that device only.
class SongOutput {
public:
    static constexpr MIDIUniqueID kUniqueID = 19751975;
    static inline const QString kName = QStringLiteral("Gigmora Song Output");

    explicit SongOutput(MidiServices& services) : services_(services) {}

    // Made with the client's other endpoints; the client takes it along when it goes.
    void create(MIDIClientRef client);
    // The song's messages, each as its own event, in order; the number that went out.
    int send(const ManagedObject& song);

private:
    MidiServices& services_;
    MIDIEndpointRef source_ = 0;
    QSet<MIDIUniqueID> named_; // devices already said to be unreachable
};

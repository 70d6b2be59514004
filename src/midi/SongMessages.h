#pragma once

#include "midi/MidiTypes.h"

#include <QStringList>
#include <cstdint>
#include <optional>
#include <vector>

class ManagedObject;

// A song's own MIDI, as it goes out when the song is recalled: its program or control change
// (when its MIDI out switch is on), then its message list in the order shown. Each message is
// checked before it becomes bytes: a kind, channel or data byte out of range is skipped and
// said, never sent.
class SongMessages {
public:
    struct Message {
        std::vector<uint8_t> bytes;
        // The device chosen in the interface column (its unique ID, 0 when none was recorded);
        // unset: no device chosen, Gigmora's song output.
        std::optional<MIDIUniqueID> device;
    };
    // Indexes in the kind pop-ups.
    static constexpr int kProgramChange = 0;
    static constexpr int kControlChange = 1;
    // An interface index above this means that no device is chosen.
    static constexpr int kLastInterfaceIndex = 99;

    // `skipped` gets one line for each message left out.
    static std::vector<Message> of(const ManagedObject& song, QStringList* skipped);
};

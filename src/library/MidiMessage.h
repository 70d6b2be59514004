#pragma once

#include "library/ManagedObject.h"

class KeyedUnarchiver;

// One outgoing MIDI message kept with a song.
class MidiMessage : public ManagedObject {
public:
    using ManagedObject::ManagedObject;

    // Its six attributes, without the owning song.
    static std::unique_ptr<MidiMessage> initWithCoder(KeyedUnarchiver& coder);
};

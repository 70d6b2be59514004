#pragma once

#include "midi/MidiTypes.h"

#include <QString>

// What a backend keeps of one of its own endpoints, so that the endpoint can be found by its
// unique ID and rebuilt under the same identity.
struct EndpointIdentity {
    bool destination = false;
    QString name;
    bool hasUniqueID = false;
    int32_t uniqueID = 0;
    QString model;

    // Looks through a map of references to endpoints; false when none carries `id`.
    template <typename Map>
    static bool find(const Map& endpoints, MIDIUniqueID id, MIDIObjectRef* outObject,
                     MIDIObjectType* outType) {
        for (auto it = endpoints.cbegin(); it != endpoints.cend(); ++it) {
            if (!it->hasUniqueID || it->uniqueID != id) continue;
            if (outObject) *outObject = it.key();
            if (outType)
                *outType = it->destination ? kMIDIObjectType_Destination : kMIDIObjectType_Source;
            return true;
        }
        return false;
    }
};

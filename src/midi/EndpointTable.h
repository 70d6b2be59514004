#pragma once

#include "midi/EndpointIdentity.h"
#include "midi/MidiTypes.h"

#include <QHash>

// A backend's own endpoints by reference, with their identities (unique ID, model): what both
// backends keep alike. `E` is the backend's endpoint record, an EndpointIdentity with what the
// backend adds. Not thread-safe: the backend guards it with its state lock.
template <typename E> class EndpointTable {
public:
    // A fresh reference, for an endpoint or for an object of another client.
    MIDIObjectRef newRef() { return next_++; }
    MIDIObjectRef insert(const E& endpoint) {
        const MIDIObjectRef ref = newRef();
        endpoints_.insert(ref, endpoint);
        return ref;
    }
    E* find(MIDIObjectRef ref) {
        auto it = endpoints_.find(ref);
        return it == endpoints_.end() ? nullptr : &*it;
    }
    void clear() { endpoints_.clear(); }
    QHash<MIDIObjectRef, E>& all() { return endpoints_; }
    const QHash<MIDIObjectRef, E>& all() const { return endpoints_; }

    bool findByUniqueID(MIDIUniqueID id, MIDIObjectRef* outObject, MIDIObjectType* outType) const {
        return EndpointIdentity::find(endpoints_, id, outObject, outType);
    }
    // Our endpoints' identities; kMIDIObjectNotFound for another object.
    OSStatus setUniqueID(MIDIObjectRef ref, int32_t value) {
        E* e = find(ref);
        if (!e) return kMIDIObjectNotFound;
        e->hasUniqueID = true;
        e->uniqueID = value;
        return kMidiNoErr;
    }
    OSStatus uniqueID(MIDIObjectRef ref, int32_t* out) {
        E* e = find(ref);
        if (!e || !e->hasUniqueID) return kMIDIObjectNotFound;
        *out = e->uniqueID;
        return kMidiNoErr;
    }
    OSStatus setModel(MIDIObjectRef ref, const QString& model) {
        E* e = find(ref);
        if (!e) return kMIDIObjectNotFound;
        e->model = model;
        return kMidiNoErr;
    }

private:
    QHash<MIDIObjectRef, E> endpoints_;
    MIDIObjectRef next_ = 1;
};

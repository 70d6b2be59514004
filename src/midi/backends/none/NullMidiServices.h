#pragma once

#include "midi/MidiServices.h"

// No MIDI system: every call fails quietly and nothing is ever found.
class NullMidiServices : public MidiServices {
public:
    QString systemName() const override { return QStringLiteral("none"); }
    OSStatus clientCreate(const QString&, MIDINotifyProc, void*, MIDIClientRef*) override {
        return kMIDIServerStartErr;
    }
    OSStatus clientDispose(MIDIClientRef) override { return kMIDIInvalidClient; }
    OSStatus portDispose(MIDIPortRef) override { return kMIDIInvalidPort; }
    OSStatus objectSetIntegerProperty(MIDIObjectRef, MidiProperty, int32_t) override {
        return kMIDIObjectNotFound;
    }
    OSStatus objectGetIntegerProperty(MIDIObjectRef, MidiProperty, int32_t*) override {
        return kMIDIObjectNotFound;
    }
    OSStatus objectSetStringProperty(MIDIObjectRef, MidiProperty, const QString&) override {
        return kMIDIObjectNotFound;
    }
    OSStatus objectGetStringProperty(MIDIObjectRef, MidiProperty, QString*) override {
        return kMIDIObjectNotFound;
    }
    OSStatus objectFindByUniqueID(MIDIUniqueID, MIDIObjectRef* out, MIDIObjectType*) override {
        if (out) *out = 0;
        return kMIDIObjectNotFound;
    }
    OSStatus received(MIDIEndpointRef, const MidiPacketList&) override { return kMIDIInvalidPort; }

protected:
    OSStatus createEndpoint(MIDIClientRef, const QString&, bool, MIDIReadProc, void*,
                            MIDIEndpointRef*) override {
        return kMIDIInvalidClient;
    }
};

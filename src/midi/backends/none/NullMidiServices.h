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
    OSStatus destinationCreate(MIDIClientRef, const QString&, MIDIReadProc, void*,
                               MIDIEndpointRef*) override {
        return kMIDIInvalidClient;
    }
    OSStatus sourceCreate(MIDIClientRef, const QString&, MIDIEndpointRef*) override {
        return kMIDIInvalidClient;
    }
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
    OSStatus portDisconnectSource(MIDIPortRef, MIDIEndpointRef) override {
        return kMIDIInvalidPort;
    }
    OSStatus received(MIDIEndpointRef, const MidiPacketList&) override { return kMIDIInvalidPort; }
};

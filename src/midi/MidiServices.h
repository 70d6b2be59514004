#pragma once

#include "midi/MidiTypes.h"

#include <QString>
#include <cstdint>
#include <memory>

class MidiPacketList;

// The MIDI system in the terms the engine uses: a client with a notification procedure,
// virtual destinations (with a read procedure) and sources, integer and string properties,
// lookup by unique ID, and publishing a packet list from a source. Results are status codes;
// the engine does not check them.
class MidiServices {
public:
    virtual ~MidiServices() = default;
    virtual QString systemName() const = 0;

    virtual OSStatus clientCreate(const QString& name, MIDINotifyProc notifyProc,
                                  void* notifyRefCon, MIDIClientRef* outClient) = 0;
    virtual OSStatus clientDispose(MIDIClientRef client) = 0;
    // The client has no ports of its own besides its endpoints: only "no port" disposes.
    virtual OSStatus portDispose(MIDIPortRef port) {
        return port == 0 ? kMidiNoErr : kMIDIInvalidPort;
    }
    OSStatus destinationCreate(MIDIClientRef client, const QString& name, MIDIReadProc readProc,
                               void* refCon, MIDIEndpointRef* outDest) {
        return createEndpoint(client, name, true, readProc, refCon, outDest);
    }
    OSStatus sourceCreate(MIDIClientRef client, const QString& name, MIDIEndpointRef* outSrc) {
        return createEndpoint(client, name, false, nullptr, nullptr, outSrc);
    }
    virtual OSStatus objectSetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                              int32_t value) = 0;
    virtual OSStatus objectGetIntegerProperty(MIDIObjectRef obj, MidiProperty property,
                                              int32_t* outValue) = 0;
    virtual OSStatus objectSetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                             const QString& value) = 0;
    virtual OSStatus objectGetStringProperty(MIDIObjectRef obj, MidiProperty property,
                                             QString* outValue) = 0;
    // Leaves *outObject 0 when nothing carries the ID.
    virtual OSStatus objectFindByUniqueID(MIDIUniqueID id, MIDIObjectRef* outObject,
                                          MIDIObjectType* outType) = 0;
    // No input ports to disconnect: input arrives at the destinations only.
    virtual OSStatus portDisconnectSource(MIDIPortRef, MIDIEndpointRef) { return kMIDIInvalidPort; }
    // Delivers the list to every listener of the virtual source; callable from any thread.
    virtual OSStatus received(MIDIEndpointRef source, const MidiPacketList& list) = 0;

    // GIGMORA_MIDI=jack|alsa|none chooses; otherwise a running JACK server (never started
    // here), else the ALSA sequencer, else none. Logs one line saying which.
    static std::unique_ptr<MidiServices> createDefault();

protected:
    // A virtual destination (reading with `readProc`) or source of the client.
    virtual OSStatus createEndpoint(MIDIClientRef client, const QString& name, bool destination,
                                    MIDIReadProc readProc, void* refCon,
                                    MIDIEndpointRef* outEndpoint) = 0;
};

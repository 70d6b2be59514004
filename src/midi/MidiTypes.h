#pragma once

#include <cstddef>
#include <cstdint>

using MIDIObjectRef = uint32_t;
using MIDIClientRef = MIDIObjectRef;
using MIDIPortRef = MIDIObjectRef;
using MIDIEndpointRef = MIDIObjectRef;
using MIDIUniqueID = int32_t;
using OSStatus = int32_t;

enum MIDIObjectType : int32_t {
    kMIDIObjectType_Other = -1,
    kMIDIObjectType_Device = 0,
    kMIDIObjectType_Source = 2,
    kMIDIObjectType_Destination = 3,
};

enum MIDINotificationMessageID : int32_t {
    kMIDIMsgSetupChanged = 1,
    kMIDIMsgObjectAdded = 2,
    kMIDIMsgObjectRemoved = 3,
    kMIDIMsgPropertyChanged = 4,
};

struct MIDINotification {
    MIDINotificationMessageID messageID;
    uint32_t messageSize;
};

enum class MidiProperty { UniqueID, Model, Name, DisplayName };

constexpr OSStatus kMidiNoErr = 0;
constexpr OSStatus kMIDIInvalidClient = -10830;
constexpr OSStatus kMIDIInvalidPort = -10831;
constexpr OSStatus kMIDIObjectNotFound = -10842;
constexpr OSStatus kMIDIServerStartErr = -10845;
constexpr OSStatus kMIDIUnknownProperty = -10835;

// Called on the MIDI system's own threads.
using MIDINotifyProc = void (*)(const MIDINotification* message, void* refCon);
// `packetList` points at a packet list in the published layout, `byteCount` bytes long.
using MIDIReadProc = void (*)(const uint8_t* packetList, size_t byteCount, void* readProcRefCon,
                              void* srcConnRefCon);

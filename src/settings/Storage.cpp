#include "settings/Storage.h"

#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

void Storage::encodeWithCoder(KeyedArchiver& c) const {
    c.encodeObject(storageSelectedMidiDevice, "StorageSelectedMidiDevice");
    c.encodeObject(storageSelectedMidiOutDevice, "StorageSelectedMidiOutDevice");
    c.encodeObject(storageSelectedMidiChannel, "StorageSelectedMidiChannel");
    c.encodeObject(storageSelectedDAW, "StorageSelectedDAW");
    c.encodeFloat(storageSelectedDAWDelay, "StorageSelectedDAWDelay");
    c.encodeFloat(storageBackupDelay, "StorageBackupDelay");
    c.encodeInt32(storageSelectedMidiDeviceUniqueID, "StorageSelectedMidiDeviceUniqueID");
    c.encodeInt32(storageSelectedMidiDeviceDestinationUniqueID,
                  "StorageSelectedMidiDeviceDestinationUniqueID");
    c.encodeBool(storageCreateVirtualPort, "StorageCreateVirtualPort");
    c.encodeBool(storageSpacebarMidiTrigger, "StorageSpacebarMidiTrigger");
    c.encodeObject(storageSelectedSpacebarMidiDevice, "StorageSelectedSpacebarMidiDevice");
    c.encodeInt32(storageSelectedSpacebarMidiDeviceUniqueID,
                  "StorageSelectedSpacebarMidiDeviceUniqueID");
    c.encodeObject(storageSelectedSpacebarMidiNote, "StorageSelectedSpacebarMidiNote");
    c.encodeObject(storageSelectedSpacebarMidiChannel, "StorageSelectedSpacebarMidiChannel");
    c.encodeBool(storageActive, "StorageActive");
    c.encodeBool(storageForceSysEventsRequest, "StorageForceSysEventsRequest");
}

std::unique_ptr<Storage> Storage::initWithCoder(KeyedUnarchiver& c) {
    auto s = std::make_unique<Storage>();
    s->storageSelectedMidiDevice = c.decodeObject("StorageSelectedMidiDevice");
    s->storageSelectedMidiOutDevice = c.decodeObject("StorageSelectedMidiOutDevice");
    s->storageSelectedMidiChannel = c.decodeObject("StorageSelectedMidiChannel");
    s->storageSelectedDAW = c.decodeObject("StorageSelectedDAW");
    s->storageSelectedDAWDelay = c.decodeFloat("StorageSelectedDAWDelay");
    s->storageBackupDelay = c.decodeFloat("StorageBackupDelay");
    s->storageSelectedMidiDeviceUniqueID = c.decodeInt32("StorageSelectedMidiDeviceUniqueID");
    s->storageSelectedMidiDeviceDestinationUniqueID =
        c.decodeInt32("StorageSelectedMidiDeviceDestinationUniqueID");
    s->storageCreateVirtualPort = c.decodeBool("StorageCreateVirtualPort");
    s->storageSpacebarMidiTrigger = c.decodeBool("StorageSpacebarMidiTrigger");
    s->storageSelectedSpacebarMidiDevice = c.decodeObject("StorageSelectedSpacebarMidiDevice");
    s->storageSelectedSpacebarMidiDeviceUniqueID =
        c.decodeInt32("StorageSelectedSpacebarMidiDeviceUniqueID");
    s->storageSelectedSpacebarMidiNote = c.decodeObject("StorageSelectedSpacebarMidiNote");
    s->storageSelectedSpacebarMidiChannel = c.decodeObject("StorageSelectedSpacebarMidiChannel");
    s->storageActive = c.decodeBool("StorageActive");
    s->storageForceSysEventsRequest = c.decodeBool("StorageForceSysEventsRequest");
    return s;
}

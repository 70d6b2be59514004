#include "settings/Storage.h"

#include "settings/SettingsLog.h"

#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/NumberValue.h"

namespace {
// Every object in the record is a number; anything else (a list, a string, a date) is left
// out, so that it is neither used nor written back.
QVariant decodeNumber(KeyedUnarchiver& c, const char* key) {
    const QVariant v = c.decodeObject(QLatin1String(key));
    if (!v.isValid() || isNumberValue(v)) return v;
    qCWarning(lcStorage).noquote() << "Settings file:" << key << "holds a" << v.typeName()
                                   << "where a number belongs; it is left out.";
    return {};
}
} // namespace

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
    s->storageSelectedMidiDevice = decodeNumber(c, "StorageSelectedMidiDevice");
    s->storageSelectedMidiOutDevice = decodeNumber(c, "StorageSelectedMidiOutDevice");
    s->storageSelectedMidiChannel = decodeNumber(c, "StorageSelectedMidiChannel");
    s->storageSelectedDAW = decodeNumber(c, "StorageSelectedDAW");
    s->storageSelectedDAWDelay = c.decodeFloat("StorageSelectedDAWDelay");
    s->storageBackupDelay = c.decodeFloat("StorageBackupDelay");
    s->storageSelectedMidiDeviceUniqueID = c.decodeInt32("StorageSelectedMidiDeviceUniqueID");
    s->storageSelectedMidiDeviceDestinationUniqueID =
        c.decodeInt32("StorageSelectedMidiDeviceDestinationUniqueID");
    s->storageCreateVirtualPort = c.decodeBool("StorageCreateVirtualPort");
    s->storageSpacebarMidiTrigger = c.decodeBool("StorageSpacebarMidiTrigger");
    s->storageSelectedSpacebarMidiDevice = decodeNumber(c, "StorageSelectedSpacebarMidiDevice");
    s->storageSelectedSpacebarMidiDeviceUniqueID =
        c.decodeInt32("StorageSelectedSpacebarMidiDeviceUniqueID");
    s->storageSelectedSpacebarMidiNote = decodeNumber(c, "StorageSelectedSpacebarMidiNote");
    s->storageSelectedSpacebarMidiChannel = decodeNumber(c, "StorageSelectedSpacebarMidiChannel");
    s->storageActive = c.decodeBool("StorageActive");
    s->storageForceSysEventsRequest = c.decodeBool("StorageForceSysEventsRequest");
    return s;
}

Storage Storage::fromFileData(const QByteArray& bytes) {
    KeyedUnarchiver coder(bytes);
    coder.registerClass("Storage", [](KeyedUnarchiver& c) { return initWithCoder(c); });
    const auto* s = dynamic_cast<Storage*>(coder.decodeObject("Data").value<KeyedCoding*>());
    coder.finishDecoding();
    return s ? *s : Storage();
}

QByteArray Storage::fileData() const {
    KeyedArchiver coder;
    coder.encodeObject(this, "Data");
    return coder.encodedData();
}

#pragma once

#include "platform/KeyedCoding.h"

#include <QVariant>
#include <memory>

class KeyedUnarchiver;

// The keyed record the settings file holds: the sixteen persisted settings, in this order.
class Storage : public KeyedCoding {
public:
    static bool supportsSecureCoding() { return true; }

    QStringList archiveClassNames() const override { return {"Storage", "NSObject"}; }
    void encodeWithCoder(KeyedArchiver& coder) const override;
    static std::unique_ptr<Storage> initWithCoder(KeyedUnarchiver& coder);

    // The settings file's bytes: the record under "Data". A file without a readable record
    // reads as a fresh Storage (everything absent, zero or false).
    static Storage fromFileData(const QByteArray& bytes);
    QByteArray fileData() const;

    QVariant storageSelectedMidiDevice;
    QVariant storageSelectedMidiOutDevice;
    QVariant storageSelectedMidiChannel;
    QVariant storageSelectedDAW;
    float storageSelectedDAWDelay = 0.0f;
    float storageBackupDelay = 0.0f;
    qint32 storageSelectedMidiDeviceUniqueID = 0;
    qint32 storageSelectedMidiDeviceDestinationUniqueID = 0;
    bool storageCreateVirtualPort = false;
    bool storageSpacebarMidiTrigger = false;
    QVariant storageSelectedSpacebarMidiDevice;
    qint32 storageSelectedSpacebarMidiDeviceUniqueID = 0;
    QVariant storageSelectedSpacebarMidiNote;
    QVariant storageSelectedSpacebarMidiChannel;
    bool storageActive = false;
    bool storageForceSysEventsRequest = false;
};

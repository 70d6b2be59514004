#include "settings/Prefs.h"

#include "settings/Storage.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

Prefs::Prefs() {
    const QString path = dataFilePath();
    if (!QFile::exists(path)) {
        applyDefaults();
        saveDataToDisk();
        return;
    }
    QFile file(path);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly)) bytes = file.readAll();
    const Storage s = Storage::fromFileData(bytes);
    prefsSelectedMidiDevice = s.storageSelectedMidiDevice;
    prefsSelectedMidiOutDevice = s.storageSelectedMidiOutDevice;
    prefsSelectedMidiChannel = s.storageSelectedMidiChannel;
    prefsSelectedDAW = s.storageSelectedDAW;
    prefsSelectedDAWDelay = s.storageSelectedDAWDelay;
    prefsBackupDelay = s.storageBackupDelay;
    prefsSelectedMidiDeviceUniqueID = s.storageSelectedMidiDeviceUniqueID;
    prefsSelectedMidiDeviceDestinationUniqueID = s.storageSelectedMidiDeviceDestinationUniqueID;
    prefsCreateVirtualPort = s.storageCreateVirtualPort;
    spacebarMidiTrigger = s.storageSpacebarMidiTrigger;
    prefsSelectedSpacebarMidiDevice = s.storageSelectedSpacebarMidiDevice;
    prefsSelectedSpacebarMidiDeviceUniqueID = s.storageSelectedSpacebarMidiDeviceUniqueID;
    prefsSelectedSpacebarMidiNote = s.storageSelectedSpacebarMidiNote;
    prefsSelectedSpacebarMidiChannel = s.storageSelectedSpacebarMidiChannel;
    prefsActive = s.storageActive;
    prefsForceSysEventsRequest = s.storageForceSysEventsRequest;
}

void Prefs::applyDefaults() {
    prefsSelectedMidiDevice = 0;
    prefsSelectedMidiOutDevice = 0;
    prefsSelectedMidiChannel = 1;
    prefsSelectedDAW = 0;
    prefsSelectedDAWDelay = 1.2f;
    prefsBackupDelay = 1.0f;
    spacebarMidiTrigger = false;
    prefsSelectedMidiDeviceUniqueID = 0;
    prefsSelectedMidiDeviceDestinationUniqueID = 0;
    prefsCreateVirtualPort = false;
    prefsSelectedSpacebarMidiDevice = 0;
    prefsSelectedSpacebarMidiDeviceUniqueID = 0;
    prefsSelectedSpacebarMidiNote = 0;
    prefsSelectedSpacebarMidiChannel = 1;
    prefsActive = true;
    prefsForceSysEventsRequest = false;
    prefsNumberOfActiveSources = QVariant();
}

QString Prefs::dataFilePath() {
    const QString folder =
        QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
            .filePath(QStringLiteral("Gigmora"));
    if (!QFileInfo::exists(folder))
        QDir().mkpath(folder); // a failure shows up as a failed write, silently
    return QDir(folder).filePath(QStringLiteral("Gigmora.gigmoraprefs"));
}

void Prefs::saveDataToDisk() {
    Storage s;
    s.storageSelectedMidiDevice = prefsSelectedMidiDevice;
    s.storageSelectedMidiOutDevice = prefsSelectedMidiOutDevice;
    s.storageSelectedMidiChannel = prefsSelectedMidiChannel;
    s.storageSelectedDAW = prefsSelectedDAW;
    s.storageSelectedDAWDelay = prefsSelectedDAWDelay;
    s.storageBackupDelay = prefsBackupDelay;
    s.storageSelectedMidiDeviceUniqueID = prefsSelectedMidiDeviceUniqueID;
    s.storageSelectedMidiDeviceDestinationUniqueID = prefsSelectedMidiDeviceDestinationUniqueID;
    s.storageCreateVirtualPort = prefsCreateVirtualPort;
    s.storageSpacebarMidiTrigger = spacebarMidiTrigger;
    s.storageSelectedSpacebarMidiDevice = prefsSelectedSpacebarMidiDevice;
    s.storageSelectedSpacebarMidiDeviceUniqueID = prefsSelectedSpacebarMidiDeviceUniqueID;
    s.storageSelectedSpacebarMidiNote = prefsSelectedSpacebarMidiNote;
    s.storageSelectedSpacebarMidiChannel = prefsSelectedSpacebarMidiChannel;
    s.storageActive = prefsActive;
    s.storageForceSysEventsRequest = prefsForceSysEventsRequest;
    const QByteArray bytes = s.fileData();
    QSaveFile file(dataFilePath());
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()) file.commit();
}

#pragma once

// The persisted settings, one line each, in the order the settings file holds them: the type,
// the name in Prefs, the name in Storage, the key it is archived under, and its value in a
// fresh settings file. Prefs and Storage declare their members from it, and the file's one
// reader, one writer, the copies between the two and the defaults all walk it.
#define GIGMORA_SETTINGS(X)                                                                        \
    X(QVariant, prefsSelectedMidiDevice, storageSelectedMidiDevice, "StorageSelectedMidiDevice",   \
      0)                                                                                           \
    X(QVariant, prefsSelectedMidiOutDevice, storageSelectedMidiOutDevice,                          \
      "StorageSelectedMidiOutDevice", 0)                                                           \
    X(QVariant, prefsSelectedMidiChannel, storageSelectedMidiChannel,                              \
      "StorageSelectedMidiChannel", 1)                                                             \
    X(QVariant, prefsSelectedDAW, storageSelectedDAW, "StorageSelectedDAW", 0)                     \
    X(float, prefsSelectedDAWDelay, storageSelectedDAWDelay, "StorageSelectedDAWDelay", 1.2f)      \
    X(float, prefsBackupDelay, storageBackupDelay, "StorageBackupDelay", 1.0f)                     \
    X(qint32, prefsSelectedMidiDeviceUniqueID, storageSelectedMidiDeviceUniqueID,                  \
      "StorageSelectedMidiDeviceUniqueID", 0)                                                      \
    X(qint32, prefsSelectedMidiDeviceDestinationUniqueID,                                          \
      storageSelectedMidiDeviceDestinationUniqueID,                                                \
      "StorageSelectedMidiDeviceDestinationUniqueID", 0)                                           \
    X(bool, prefsCreateVirtualPort, storageCreateVirtualPort, "StorageCreateVirtualPort", false)   \
    X(bool, spacebarMidiTrigger, storageSpacebarMidiTrigger, "StorageSpacebarMidiTrigger", false)  \
    X(QVariant, prefsSelectedSpacebarMidiDevice, storageSelectedSpacebarMidiDevice,                \
      "StorageSelectedSpacebarMidiDevice", 0)                                                      \
    X(qint32, prefsSelectedSpacebarMidiDeviceUniqueID, storageSelectedSpacebarMidiDeviceUniqueID,  \
      "StorageSelectedSpacebarMidiDeviceUniqueID", 0)                                              \
    X(QVariant, prefsSelectedSpacebarMidiNote, storageSelectedSpacebarMidiNote,                    \
      "StorageSelectedSpacebarMidiNote", 0)                                                        \
    X(QVariant, prefsSelectedSpacebarMidiChannel, storageSelectedSpacebarMidiChannel,              \
      "StorageSelectedSpacebarMidiChannel", 1)                                                     \
    X(bool, prefsActive, storageActive, "StorageActive", true)                                     \
    X(bool, prefsForceSysEventsRequest, storageForceSysEventsRequest,                              \
      "StorageForceSysEventsRequest", false)

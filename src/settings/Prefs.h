#pragma once

#include <QString>
#include <QVariant>

// The application's one settings object. Setters only store; saveDataToDisk writes the whole
// record. Number settings are objects that may be absent (reading 0 as an integer).
class Prefs {
public:
    Prefs(); // loads the settings file, or applies the defaults and writes them at once

    static QString dataFilePath(); // creates the folder if it is missing
    void saveDataToDisk();

    QVariant prefsNumberOfActiveSources;
    QVariant prefsSelectedMidiDevice;
    QVariant prefsSelectedMidiOutDevice;
    QVariant prefsSelectedMidiChannel;
    bool prefsActive = false;
    bool spacebarMidiTrigger = false;
    QVariant prefsSelectedSpacebarMidiDevice;
    qint32 prefsSelectedSpacebarMidiDeviceUniqueID = 0;
    QVariant prefsSelectedSpacebarMidiNote;
    QVariant prefsSelectedSpacebarMidiChannel;
    QVariant prefsSelectedDAW;
    float prefsSelectedDAWDelay = 0.0f;
    float prefsBackupDelay = 0.0f;
    qint32 prefsSelectedMidiDeviceUniqueID = 0;
    qint32 prefsSelectedMidiDeviceDestinationUniqueID = 0;
    bool prefsCreateVirtualPort = false;
    bool prefsForceSysEventsRequest = false;

private:
    void applyDefaults();
};

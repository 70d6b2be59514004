#pragma once

#include "settings/SettingsTable.h"

#include <QString>
#include <QVariant>

// The application's one settings object. Setters only store; saveDataToDisk writes the whole
// record. Number settings are objects that may be absent (reading 0 as an integer).
class Prefs {
public:
    Prefs(); // loads the settings file, or applies the defaults and writes them at once

    static QString dataFilePath(); // creates the folder if it is missing
    void saveDataToDisk();

    QVariant prefsNumberOfActiveSources; // never saved
#define GIGMORA_PREFS_MEMBER(Type, prefsName, storageName, key, fresh) Type prefsName{};
    GIGMORA_SETTINGS(GIGMORA_PREFS_MEMBER)
#undef GIGMORA_PREFS_MEMBER

private:
    void applyDefaults();
};

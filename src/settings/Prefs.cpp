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
#define GIGMORA_LOAD(Type, prefsName, storageName, key, fresh) prefsName = s.storageName;
    GIGMORA_SETTINGS(GIGMORA_LOAD)
#undef GIGMORA_LOAD
}

void Prefs::applyDefaults() {
#define GIGMORA_DEFAULT(Type, prefsName, storageName, key, fresh) prefsName = Type(fresh);
    GIGMORA_SETTINGS(GIGMORA_DEFAULT)
#undef GIGMORA_DEFAULT
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
#define GIGMORA_SAVE(Type, prefsName, storageName, key, fresh) s.storageName = prefsName;
    GIGMORA_SETTINGS(GIGMORA_SAVE)
#undef GIGMORA_SAVE
    const QByteArray bytes = s.fileData();
    QSaveFile file(dataFilePath());
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()) file.commit();
}

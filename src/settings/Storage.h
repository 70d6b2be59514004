#pragma once

#include "platform/KeyedCoding.h"
#include "settings/SettingsTable.h"

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

#define GIGMORA_STORAGE_MEMBER(Type, prefsName, storageName, key, fresh) Type storageName{};
    GIGMORA_SETTINGS(GIGMORA_STORAGE_MEMBER)
#undef GIGMORA_STORAGE_MEMBER
};

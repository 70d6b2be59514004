#include "settings/Storage.h"

#include "settings/SettingsLog.h"

#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/NumberValue.h"

namespace {
// Every object in the record is a number; anything else (a list, a string, a date) is left
// out, so that it is neither used nor written back.
void decode(KeyedUnarchiver& c, const char* key, QVariant& out) {
    const QVariant v = c.decodeObject(QLatin1String(key));
    if (!v.isValid() || isNumberValue(v)) {
        out = v;
        return;
    }
    qCWarning(lcStorage).noquote() << "Settings file:" << key << "holds a" << v.typeName()
                                   << "where a number belongs; it is left out.";
    out = QVariant();
}
void decode(KeyedUnarchiver& c, const char* key, float& out) {
    out = c.decodeFloat(key);
}
void decode(KeyedUnarchiver& c, const char* key, qint32& out) {
    out = c.decodeInt32(key);
}
void decode(KeyedUnarchiver& c, const char* key, bool& out) {
    out = c.decodeBool(key);
}

void encode(KeyedArchiver& c, const char* key, const QVariant& v) {
    c.encodeObject(v, key);
}
void encode(KeyedArchiver& c, const char* key, float v) {
    c.encodeFloat(v, key);
}
void encode(KeyedArchiver& c, const char* key, qint32 v) {
    c.encodeInt32(v, key);
}
void encode(KeyedArchiver& c, const char* key, bool v) {
    c.encodeBool(v, key);
}
} // namespace

void Storage::encodeWithCoder(KeyedArchiver& c) const {
#define GIGMORA_ENCODE(Type, prefsName, storageName, key, fresh) encode(c, key, storageName);
    GIGMORA_SETTINGS(GIGMORA_ENCODE)
#undef GIGMORA_ENCODE
}

std::unique_ptr<Storage> Storage::initWithCoder(KeyedUnarchiver& c) {
    auto s = std::make_unique<Storage>();
#define GIGMORA_DECODE(Type, prefsName, storageName, key, fresh) decode(c, key, s->storageName);
    GIGMORA_SETTINGS(GIGMORA_DECODE)
#undef GIGMORA_DECODE
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

#include "platform/KeyedArchiver.h"
#include "platform/PlistNode.h"
#include "settings/Prefs.h"
#include "settings/Storage.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QDateTime>
#include <gtest/gtest.h>

using namespace helpers;

class Settings : public ::testing::Test {
protected:
    void SetUp() override { TempHome::clear(); }
    QString path() const { return TempHome::dataHome() + "/Gigmora/Gigmora.gigmoraprefs"; }
};

// A record written before "StorageBackupDelay" existed, with a list, a string and a date where
// numbers belong (crafted_archive_test checks lists that expand enormously): what is missing or
// of the wrong kind reads as zero.
TEST_F(Settings, MissingKeysWrongKindsAndUnreadableFilesReadAsZero) {
    class OldStorage : public Storage {
        void encodeWithCoder(KeyedArchiver& c) const override {
            c.encodeObject(QVariant(3), "StorageSelectedMidiChannel");
            c.encodeFloat(2.0f, "StorageSelectedDAWDelay");
            c.encodeObject(QVariantList{1, 2}, "StorageSelectedMidiDevice");
            c.encodeObject(QVariant(QStringLiteral("Keys")), "StorageSelectedMidiOutDevice");
            c.encodeObject(QVariant(QDateTime::currentDateTimeUtc()), "StorageSelectedDAW");
        }
    } old;
    KeyedArchiver coder;
    coder.encodeObject(&old, "Data");
    writeFile(path(), coder.encodedData());
    Prefs prefs;
    EXPECT_EQ(prefs.prefsBackupDelay, 0.0f);
    EXPECT_EQ(prefs.prefsSelectedDAWDelay, 2.0f);
    EXPECT_EQ(prefs.prefsSelectedMidiChannel.toInt(), 3);
    EXPECT_FALSE(prefs.prefsSelectedSpacebarMidiChannel.isValid());
    EXPECT_FALSE(prefs.prefsActive);
    EXPECT_FALSE(prefs.prefsSelectedMidiDevice.isValid());
    EXPECT_FALSE(prefs.prefsSelectedMidiOutDevice.isValid());
    EXPECT_FALSE(prefs.prefsSelectedDAW.isValid());

    writeFile(path(), "this is not a keyed archive");
    Prefs zero;
    EXPECT_EQ(zero.prefsSelectedDAWDelay, 0.0f);
    EXPECT_FALSE(zero.prefsSelectedMidiChannel.isValid());
    EXPECT_FALSE(zero.prefsActive);
    EXPECT_EQ(readFile(path()), "this is not a keyed archive") << "not rewritten when read";
    zero.prefsSelectedMidiChannel = 9;
    zero.saveDataToDisk();
    EXPECT_EQ(Prefs().prefsSelectedMidiChannel.toInt(), 9) << "the next save replaces the file";
}

namespace {
// The "Data" record of the settings file as libplist reads it: each key as the kind of value
// it holds and its value (for an object-coded key, the number it points at).
struct RawRecord {
    PlistNode root;
    plist_t objects = nullptr, record = nullptr;

    explicit RawRecord(const QByteArray& data) {
        plist_t r = nullptr;
        plist_from_bin(data.constData(), uint32_t(data.size()), &r);
        root.reset(r);
        objects = plist_dict_get_item(root.get(), "$objects");
        record = at(plist_dict_get_item(root.get(), "$top"), "Data");
    }
    // The object a UID under `key` points at.
    plist_t at(plist_t dict, const char* key) const {
        uint64_t v = 0;
        plist_get_uid_val(plist_dict_get_item(dict, key), &v);
        return v ? plist_array_get_item(objects, uint32_t(v)) : nullptr;
    }
    QString operator[](const char* key) const {
        plist_t item = plist_dict_get_item(record, key);
        uint64_t n = 0;
        double real = 0;
        uint8_t flag = 0;
        switch (plist_get_node_type(item)) {
        case PLIST_UID:
            if (!at(record, key)) return "$null";
            plist_get_uint_val(at(record, key), &n);
            return QString("object %1").arg(n);
        case PLIST_REAL:
            plist_get_real_val(item, &real);
            return QString("real %1").arg(QString::number(float(real)));
        case PLIST_UINT:
            plist_get_uint_val(item, &n);
            return QString("integer %1").arg(int32_t(n));
        case PLIST_BOOLEAN:
            plist_get_bool_val(item, &flag);
            return flag ? "flag true" : "flag false";
        default:
            return "missing";
        }
    }
};
} // namespace

// The file as libplist reads it, not our decoder: one "Data" record of class Storage with the
// sixteen keys at their defaults and with their coder types.
TEST_F(Settings, TheFileHoldsTheSixteenKeysWithTheirCoderTypes) {
    const struct {
        const char *key, *byDefault;
    } keys[] = {
        {"StorageSelectedMidiDevice", "object 0"},
        {"StorageSelectedMidiOutDevice", "object 0"},
        {"StorageSelectedMidiChannel", "object 1"},
        {"StorageSelectedDAW", "object 0"},
        {"StorageSelectedDAWDelay", "real 1.2"},
        {"StorageBackupDelay", "real 1"},
        {"StorageSelectedMidiDeviceUniqueID", "integer 0"},
        {"StorageSelectedMidiDeviceDestinationUniqueID", "integer 0"},
        {"StorageCreateVirtualPort", "flag false"},
        {"StorageSpacebarMidiTrigger", "flag false"},
        {"StorageSelectedSpacebarMidiDevice", "object 0"},
        {"StorageSelectedSpacebarMidiDeviceUniqueID", "integer 0"},
        {"StorageSelectedSpacebarMidiNote", "object 0"},
        {"StorageSelectedSpacebarMidiChannel", "object 1"},
        {"StorageActive", "flag true"},
        {"StorageForceSysEventsRequest", "flag false"},
    };
    Prefs prefs;
    RawRecord raw(readFile(path()));
    ASSERT_TRUE(raw.record);
    EXPECT_EQ(plist_dict_get_size(raw.record), 17u) << "sixteen keys and $class";
    char* name = nullptr;
    plist_get_string_val(plist_dict_get_item(raw.at(raw.record, "$class"), "$classname"), &name);
    EXPECT_STREQ(name, "Storage");
    free(name);
    for (const auto& k : keys)
        EXPECT_EQ(raw[k.key], k.byDefault) << k.key;
}

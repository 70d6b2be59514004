#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/PlistNode.h"
#include "settings/Prefs.h"
#include "settings/Storage.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <optional>

using namespace helpers;

class Settings : public ::testing::Test {
protected:
    void SetUp() override { TempHome::clear(); }
    QString path() const { return TempHome::dataHome() + "/Gigmora/Gigmora.gigmoraprefs"; }
    std::unique_ptr<Storage> storedRecord() {
        KeyedUnarchiver coder(readFile(path()));
        coder.registerClass("Storage",
                            [](KeyedUnarchiver& c) { return Storage::initWithCoder(c); });
        auto* s = dynamic_cast<Storage*>(coder.decodeObject("Data").value<KeyedCoding*>());
        return s ? std::make_unique<Storage>(*s) : nullptr;
    }
};

TEST_F(Settings, FirstRunWritesExactlyTheDefaults) {
    Prefs prefs;
    EXPECT_EQ(Prefs::dataFilePath(), path());
    auto s = storedRecord();
    ASSERT_TRUE(s);
    EXPECT_EQ(s->storageSelectedDAWDelay, 1.2f) << "the float nearest 1.2";
    EXPECT_EQ(s->storageBackupDelay, 1.0f);
    EXPECT_EQ(s->storageSelectedMidiChannel.toInt(), 1);
    EXPECT_EQ(s->storageSelectedSpacebarMidiChannel.toInt(), 1);
    EXPECT_TRUE(s->storageActive);
    EXPECT_EQ(s->storageSelectedMidiDevice.toInt(), 0);
    EXPECT_TRUE(s->storageSelectedMidiDevice.isValid());
    EXPECT_FALSE(s->storageCreateVirtualPort);
    EXPECT_FALSE(s->storageForceSysEventsRequest);
    EXPECT_FALSE(prefs.prefsNumberOfActiveSources.isValid());

    prefs.prefsSelectedMidiChannel = 10;
    prefs.prefsSelectedMidiDeviceUniqueID = -123;
    prefs.prefsSelectedDAWDelay = 0.25f;
    prefs.prefsNumberOfActiveSources = 4;
    prefs.saveDataToDisk();
    Prefs again;
    EXPECT_EQ(again.prefsSelectedMidiChannel.toInt(), 10);
    EXPECT_EQ(again.prefsSelectedMidiDeviceUniqueID, -123);
    EXPECT_EQ(again.prefsSelectedDAWDelay, 0.25f);
    EXPECT_FALSE(again.prefsNumberOfActiveSources.isValid()) << "never persisted";
}

TEST_F(Settings, MissingKeysAndUnreadableFilesReadAsZero) {
    // A record written before "StorageBackupDelay" existed.
    class OldStorage : public Storage {
        void encodeWithCoder(KeyedArchiver& c) const override {
            c.encodeObject(QVariant(3), "StorageSelectedMidiChannel");
            c.encodeFloat(2.0f, "StorageSelectedDAWDelay");
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

    writeFile(path(), "this is not a keyed archive");
    Prefs zero;
    EXPECT_EQ(zero.prefsSelectedDAWDelay, 0.0f);
    EXPECT_FALSE(zero.prefsSelectedMidiChannel.isValid());
    EXPECT_EQ(zero.prefsSelectedMidiChannel.toInt(), 0);
    EXPECT_FALSE(zero.prefsActive);
    EXPECT_EQ(readFile(path()), "this is not a keyed archive") << "not rewritten when read";
    zero.saveDataToDisk();
    auto s = storedRecord();
    ASSERT_TRUE(s) << "the next save replaces the unreadable file";
    EXPECT_EQ(s->storageSelectedDAWDelay, 0.0f);
}

namespace {
// The "Data" record of the settings file as libplist reads it, and the archive's objects.
struct RawRecord {
    PlistNode root;
    plist_t objects = nullptr;
    plist_t record = nullptr;

    explicit RawRecord(const QByteArray& data) {
        plist_t r = nullptr;
        plist_from_bin(data.constData(), uint32_t(data.size()), &r);
        root.reset(r);
        objects = plist_dict_get_item(root.get(), "$objects");
        uint64_t uid = 0;
        plist_get_uid_val(plist_dict_get_item(plist_dict_get_item(root.get(), "$top"), "Data"),
                          &uid);
        record = plist_array_get_item(objects, uint32_t(uid));
    }
    plist_t item(const char* key) const { return plist_dict_get_item(record, key); }
    // An object-coded key: the number it points at, or nullopt for $null.
    std::optional<int64_t> object(const char* key) const {
        uint64_t uid = 0;
        if (plist_get_node_type(item(key)) != PLIST_UID) return int64_t(-999999);
        plist_get_uid_val(item(key), &uid);
        if (uid == 0) return std::nullopt;
        uint64_t v = 0;
        plist_get_uint_val(plist_array_get_item(objects, uint32_t(uid)), &v);
        return int64_t(v);
    }
    double real(const char* key) const {
        double v = -1;
        EXPECT_EQ(plist_get_node_type(item(key)), PLIST_REAL) << key;
        plist_get_real_val(item(key), &v);
        return v;
    }
    int64_t integer(const char* key) const {
        uint64_t v = 0;
        EXPECT_EQ(plist_get_node_type(item(key)), PLIST_UINT) << key;
        plist_get_uint_val(item(key), &v);
        return int64_t(v);
    }
    bool flag(const char* key) const {
        uint8_t v = 2;
        EXPECT_EQ(plist_get_node_type(item(key)), PLIST_BOOLEAN) << key;
        plist_get_bool_val(item(key), &v);
        return v != 0;
    }
};
} // namespace

// The file itself, read without our own decoder: one "Data" record of class Storage with the
// sixteen keys, numbers as objects, the rest inline with their coder types; first the
// defaults, then every field set to something other than its default, negatives included.
TEST_F(Settings, TheFileHoldsTheSixteenKeysWithTheirCoderTypes) {
    Prefs prefs;
    {
        RawRecord raw(readFile(path()));
        ASSERT_TRUE(raw.record);
        EXPECT_EQ(plist_dict_get_size(raw.record), 17u) << "sixteen keys and $class";
        uint64_t cls = 0;
        plist_get_uid_val(raw.item("$class"), &cls);
        char* name = nullptr;
        plist_get_string_val(
            plist_dict_get_item(plist_array_get_item(raw.objects, uint32_t(cls)), "$classname"),
            &name);
        EXPECT_STREQ(name, "Storage");
        free(name);
        EXPECT_EQ(raw.object("StorageSelectedMidiDevice"), 0);
        EXPECT_EQ(raw.object("StorageSelectedMidiOutDevice"), 0);
        EXPECT_EQ(raw.object("StorageSelectedMidiChannel"), 1);
        EXPECT_EQ(raw.object("StorageSelectedDAW"), 0);
        EXPECT_FLOAT_EQ(float(raw.real("StorageSelectedDAWDelay")), 1.2f);
        EXPECT_EQ(raw.real("StorageBackupDelay"), 1.0);
        EXPECT_EQ(raw.integer("StorageSelectedMidiDeviceUniqueID"), 0);
        EXPECT_EQ(raw.integer("StorageSelectedMidiDeviceDestinationUniqueID"), 0);
        EXPECT_FALSE(raw.flag("StorageCreateVirtualPort"));
        EXPECT_FALSE(raw.flag("StorageSpacebarMidiTrigger"));
        EXPECT_EQ(raw.object("StorageSelectedSpacebarMidiDevice"), 0);
        EXPECT_EQ(raw.integer("StorageSelectedSpacebarMidiDeviceUniqueID"), 0);
        EXPECT_EQ(raw.object("StorageSelectedSpacebarMidiNote"), 0);
        EXPECT_EQ(raw.object("StorageSelectedSpacebarMidiChannel"), 1);
        EXPECT_TRUE(raw.flag("StorageActive"));
        EXPECT_FALSE(raw.flag("StorageForceSysEventsRequest"));
    }

    prefs.prefsSelectedMidiDevice = 3;
    prefs.prefsSelectedMidiOutDevice = 4;
    prefs.prefsSelectedMidiChannel = 16;
    prefs.prefsSelectedDAW = 1;
    prefs.prefsSelectedDAWDelay = 2.75f;
    prefs.prefsBackupDelay = 0.5f;
    prefs.prefsSelectedMidiDeviceUniqueID = -19711971;
    prefs.prefsSelectedMidiDeviceDestinationUniqueID = 2147483647;
    prefs.prefsCreateVirtualPort = true;
    prefs.spacebarMidiTrigger = true;
    prefs.prefsSelectedSpacebarMidiDevice = 2;
    prefs.prefsSelectedSpacebarMidiDeviceUniqueID = -2147483647 - 1;
    prefs.prefsSelectedSpacebarMidiNote = 72;
    prefs.prefsSelectedSpacebarMidiChannel = 10;
    prefs.prefsActive = false;
    prefs.prefsForceSysEventsRequest = true;
    prefs.saveDataToDisk();
    {
        RawRecord raw(readFile(path()));
        EXPECT_EQ(raw.object("StorageSelectedMidiChannel"), 16);
        EXPECT_EQ(raw.real("StorageSelectedDAWDelay"), 2.75);
        EXPECT_EQ(int32_t(raw.integer("StorageSelectedMidiDeviceUniqueID")), -19711971);
        EXPECT_EQ(int32_t(raw.integer("StorageSelectedSpacebarMidiDeviceUniqueID")),
                  -2147483647 - 1);
        EXPECT_FALSE(raw.flag("StorageActive"));
        EXPECT_TRUE(raw.flag("StorageForceSysEventsRequest"));
    }
    Prefs again;
    EXPECT_EQ(again.prefsSelectedMidiDevice.toInt(), 3);
    EXPECT_EQ(again.prefsSelectedMidiOutDevice.toInt(), 4);
    EXPECT_EQ(again.prefsSelectedMidiChannel.toInt(), 16);
    EXPECT_EQ(again.prefsSelectedDAW.toInt(), 1);
    EXPECT_EQ(again.prefsSelectedDAWDelay, 2.75f);
    EXPECT_EQ(again.prefsBackupDelay, 0.5f);
    EXPECT_EQ(again.prefsSelectedMidiDeviceUniqueID, -19711971);
    EXPECT_EQ(again.prefsSelectedMidiDeviceDestinationUniqueID, 2147483647);
    EXPECT_TRUE(again.prefsCreateVirtualPort);
    EXPECT_TRUE(again.spacebarMidiTrigger);
    EXPECT_EQ(again.prefsSelectedSpacebarMidiDevice.toInt(), 2);
    EXPECT_EQ(again.prefsSelectedSpacebarMidiDeviceUniqueID, -2147483647 - 1);
    EXPECT_EQ(again.prefsSelectedSpacebarMidiNote.toInt(), 72);
    EXPECT_EQ(again.prefsSelectedSpacebarMidiChannel.toInt(), 10);
    EXPECT_FALSE(again.prefsActive);
    EXPECT_TRUE(again.prefsForceSysEventsRequest);
}

// A settings file with a list, a string and a date where numbers belong, the list shared by
// thirty nested levels (a thousand bytes that mean 2^30 entries): each such value is left
// out when read, and the file written back at once is as small as an ordinary one.
TEST_F(Settings, ValuesOfTheWrongKindAreLeftOut) {
    class Crafted : public Storage {
        void encodeWithCoder(KeyedArchiver& c) const override {
            QVariant level = QVariantList{1, 2};
            for (int i = 0; i < 30; ++i)
                level = QVariantList{level, level};
            c.encodeObject(level, "StorageSelectedMidiDevice");
            c.encodeObject(QVariant(QStringLiteral("Keys")), "StorageSelectedMidiOutDevice");
            c.encodeObject(QVariant(QDateTime::currentDateTimeUtc()), "StorageSelectedDAW");
            c.encodeObject(QVariant(5), "StorageSelectedMidiChannel");
        }
    } crafted;
    KeyedArchiver coder;
    coder.encodeObject(&crafted, "Data");
    const QByteArray bytes = coder.encodedData();
    ASSERT_LT(bytes.size(), 2000) << "the crafted file is small";
    writeFile(path(), bytes);
    Prefs prefs;
    EXPECT_FALSE(prefs.prefsSelectedMidiDevice.isValid());
    EXPECT_FALSE(prefs.prefsSelectedMidiOutDevice.isValid());
    EXPECT_FALSE(prefs.prefsSelectedDAW.isValid());
    EXPECT_EQ(prefs.prefsSelectedMidiChannel.toInt(), 5) << "a number where one belongs stays";
    prefs.saveDataToDisk();
    EXPECT_LT(QFileInfo(path()).size(), 2000);
    EXPECT_EQ(storedRecord()->storageSelectedMidiChannel.toInt(), 5);
}

#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "settings/Prefs.h"
#include "settings/Storage.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

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

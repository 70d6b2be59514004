#include "platform/KeyedArchiver.h"
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

// An old record with lists, strings and dates where numbers belong: those read as zero.
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
    EXPECT_FALSE(zero.prefsSelectedMidiChannel.isValid());
    EXPECT_EQ(readFile(path()), "this is not a keyed archive") << "not rewritten when read";
    zero.prefsSelectedMidiChannel = 9;
    zero.saveDataToDisk();
    EXPECT_EQ(Prefs().prefsSelectedMidiChannel.toInt(), 9) << "the next save replaces the file";
}

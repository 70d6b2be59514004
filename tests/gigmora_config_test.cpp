#include "settings/GigmoraConfig.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/TempHome.h"

#include <QFileInfo>
#include <gtest/gtest.h>

using namespace helpers;

class GigmoraConfigTest : public ::testing::Test {
protected:
    void SetUp() override { TempHome::clear(); }
    static void write(const QByteArray& ini) { writeFile(GigmoraConfig::filePath(), ini); }
};

// No file: the original behaviour, and nothing is written by reading.
TEST_F(GigmoraConfigTest, AnAbsentFileMeansTheOriginal) {
    const GigmoraConfig::Daw daw = GigmoraConfig::daw();
    EXPECT_EQ(daw.control, GigmoraConfig::Daw::Control::Logic);
    EXPECT_EQ(daw.program(), QStringList{"ardour"});
    EXPECT_FALSE(daw.saveBeforeSwitch);
    EXPECT_EQ(daw.loadTimeoutSeconds, 60);
    EXPECT_FALSE(QFileInfo::exists(GigmoraConfig::filePath()));
    EXPECT_TRUE(GigmoraConfig::filePath().endsWith("/Gigmora/Gigmora.conf"));
}

// What is written reads back; the command splits like a desktop entry's Exec line.
TEST_F(GigmoraConfigTest, SettingsRoundTrip) {
    GigmoraConfig::Daw daw;
    daw.control = GigmoraConfig::Daw::Control::SessionManager;
    daw.command = R"(/opt/Ardour 8/bin/ardour8 --no-splash "--name=Live Set")";
    daw.saveBeforeSwitch = true;
    daw.loadTimeoutSeconds = 15;
    GigmoraConfig::setDaw(daw);
    EXPECT_TRUE(readFile(GigmoraConfig::filePath()).contains("control=session-manager"));
    const GigmoraConfig::Daw back = GigmoraConfig::daw();
    EXPECT_EQ(back.control, GigmoraConfig::Daw::Control::SessionManager);
    EXPECT_TRUE(back.saveBeforeSwitch);
    EXPECT_EQ(back.loadTimeoutSeconds, 15);
    EXPECT_EQ(back.program(),
              (QStringList{"/opt/Ardour", "8/bin/ardour8", "--no-splash", "--name=Live Set"}));
}

// Values that cannot be used fall back to their defaults, one log line each.
TEST_F(GigmoraConfigTest, UnusableValuesKeepTheirDefaults) {
    write("[daw]\ncontrol=pro-tools\ncommand=\"\"\nsaveBeforeSwitch=maybe\nloadTimeout=-5\n");
    LogCapture log;
    const GigmoraConfig::Daw daw = GigmoraConfig::daw();
    EXPECT_EQ(daw.control, GigmoraConfig::Daw::Control::Logic);
    EXPECT_EQ(daw.command, "ardour");
    EXPECT_FALSE(daw.saveBeforeSwitch);
    EXPECT_EQ(daw.loadTimeoutSeconds, 60);
    EXPECT_EQ(log.lines().filter("Gigmora.conf").size(), 4);
    write("[daw]\nloadTimeout=601\n");
    EXPECT_EQ(GigmoraConfig::daw().loadTimeoutSeconds, 60) << "past the limit";
    // A different length: Qt's settings cache rereads a file only when it sees it changed.
    write("[daw]\nloadTimeout=45\n");
    EXPECT_EQ(GigmoraConfig::daw().loadTimeoutSeconds, 45);
}

// The web remote: off with no PIN unless asked; a PIN is 4 to 8 digits; a made one is six;
// a value that cannot be used keeps its default and says so.
TEST_F(GigmoraConfigTest, TheWebRemoteGroup) {
    GigmoraConfig::Remote r = GigmoraConfig::remote();
    EXPECT_FALSE(r.enabled);
    EXPECT_EQ(r.port, 8765);
    EXPECT_TRUE(r.pin.isEmpty());
    EXPECT_TRUE(r.address.isEmpty());
    for (const char* pin : {"0123", "12345678"})
        EXPECT_TRUE(GigmoraConfig::isPin(pin)) << pin;
    for (const char* pin : {"", "123", "123456789", "12a4", " 1234", "١٢٣٤"})
        EXPECT_FALSE(GigmoraConfig::isPin(QString::fromUtf8(pin))) << pin;
    EXPECT_TRUE(GigmoraConfig::isPin(GigmoraConfig::makePin()));
    EXPECT_EQ(GigmoraConfig::makePin().size(), 6);

    GigmoraConfig::setRemote({true, 9000, "0042", "192.168.1.20"});
    r = GigmoraConfig::remote();
    EXPECT_TRUE(r.enabled);
    EXPECT_EQ(r.port, 9000);
    EXPECT_EQ(r.pin, "0042") << "the leading zero stays";
    EXPECT_EQ(r.address, "192.168.1.20");

    LogCapture log;
    write("[remote]\nenabled=yes\nport=70000\npin=12\naddress=the venue\n");
    r = GigmoraConfig::remote();
    EXPECT_FALSE(r.enabled);
    EXPECT_EQ(r.port, 8765);
    EXPECT_TRUE(r.pin.isEmpty());
    EXPECT_TRUE(r.address.isEmpty());
    EXPECT_TRUE(log.contains("[remote] pin must be 4 to 8 digits"));
    EXPECT_TRUE(log.contains("address = the venue cannot be used"));
}

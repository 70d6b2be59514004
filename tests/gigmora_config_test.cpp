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

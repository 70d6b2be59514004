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

// What is written reads back whole: the command splits like a desktop entry's Exec line and a
// PIN keeps its leading zero. Reading writes nothing.
TEST_F(GigmoraConfigTest, SettingsRoundTrip) {
    GigmoraConfig::daw();
    EXPECT_FALSE(QFileInfo::exists(GigmoraConfig::filePath()));
    GigmoraConfig::setDaw({GigmoraConfig::Daw::Control::SessionManager,
                           R"(/opt/Ardour 8/bin/ardour8 --no-splash "--name=Live Set")", true, 15});
    EXPECT_TRUE(readFile(GigmoraConfig::filePath()).contains("control=session-manager"));
    const GigmoraConfig::Daw daw = GigmoraConfig::daw();
    EXPECT_EQ(daw.control, GigmoraConfig::Daw::Control::SessionManager);
    EXPECT_TRUE(daw.saveBeforeSwitch);
    EXPECT_EQ(daw.loadTimeoutSeconds, 15);
    EXPECT_EQ(daw.program(),
              (QStringList{"/opt/Ardour", "8/bin/ardour8", "--no-splash", "--name=Live Set"}));
    const GigmoraConfig::Remote remote{true, 9000, "0042", "192.168.1.20"};
    GigmoraConfig::setRemote(remote);
    EXPECT_TRUE(GigmoraConfig::remote() == remote);
}

// Values that cannot be used fall back to their defaults, one log line each.
TEST_F(GigmoraConfigTest, UnusableValuesKeepTheirDefaults) {
    write("[daw]\ncontrol=pro-tools\ncommand=\"\"\nsaveBeforeSwitch=maybe\nloadTimeout=-5\n"
          "[remote]\nenabled=yes\nport=70000\npin=12\naddress=the venue\n");
    LogCapture log;
    EXPECT_TRUE(GigmoraConfig::daw() == GigmoraConfig::Daw{});
    EXPECT_TRUE(GigmoraConfig::remote() == GigmoraConfig::Remote{});
    EXPECT_EQ(log.lines().filter("Gigmora.conf").size(), 8);
    EXPECT_TRUE(log.contains("[remote] pin must be 4 to 8 digits"));
    write("[daw]\nloadTimeout=601\n");
    EXPECT_EQ(GigmoraConfig::daw().loadTimeoutSeconds, 60) << "past the limit";
    // A different length: Qt's settings cache rereads a file only when it sees it changed.
    write("[daw]\nloadTimeout=45\n");
    EXPECT_EQ(GigmoraConfig::daw().loadTimeoutSeconds, 45);
}

// The standby DAW's settings: off and on the system's first playback pair by default; outputs
// written by hand read as a list, an empty value as none; crossfade and spillover within their
// ranges; what is written reads back.
TEST_F(GigmoraConfigTest, StandbySettings) {
    const GigmoraConfig::Daw fresh = GigmoraConfig::daw();
    EXPECT_FALSE(fresh.standby);
    EXPECT_EQ(fresh.outputs, (QStringList{"system:playback_1", "system:playback_2"}));
    EXPECT_EQ(fresh.mainOutputs, "Master/audio_out");
    EXPECT_EQ(fresh.crossfadeSamples, 64);
    EXPECT_EQ(fresh.spilloverMs, 0);
    EXPECT_EQ(fresh.transportOnSwitch, GigmoraConfig::Daw::Transport::Keep);

    write("[daw]\nstandby=true\noutputs=mixer:in_7, mixer:in_8\ncrossfade=48001\n"
          "spillover=2500\nmainOutputs=\ntransportOnSwitch=play-new\n");
    LogCapture log;
    GigmoraConfig::Daw daw = GigmoraConfig::daw();
    EXPECT_TRUE(daw.standby);
    EXPECT_EQ(daw.outputs, (QStringList{"mixer:in_7", "mixer:in_8"}));
    EXPECT_EQ(daw.crossfadeSamples, 64) << "past the limit";
    EXPECT_EQ(daw.spilloverMs, 2500);
    EXPECT_EQ(daw.mainOutputs, "Master/audio_out");
    EXPECT_EQ(daw.transportOnSwitch, GigmoraConfig::Daw::Transport::PlayNew);
    EXPECT_EQ(log.lines().filter("Gigmora.conf").size(), 2);

    write("[daw]\noutputs=\ntransportOnSwitch=rewind\n");
    EXPECT_EQ(GigmoraConfig::daw().transportOnSwitch, GigmoraConfig::Daw::Transport::Keep);
    EXPECT_TRUE(GigmoraConfig::daw().outputs.isEmpty()) << "connected nowhere";

    daw.outputs = {"system:playback_3", "system:playback_4"};
    daw.crossfadeSamples = 0;
    daw.transportOnSwitch = GigmoraConfig::Daw::Transport::StopOld;
    GigmoraConfig::setDaw(daw);
    EXPECT_TRUE(GigmoraConfig::daw() == daw);
}

// A PIN is 4 to 8 ASCII digits, and a made one is one.
TEST_F(GigmoraConfigTest, Pins) {
    for (const char* pin : {"0123", "12345678"})
        EXPECT_TRUE(GigmoraConfig::isPin(pin)) << pin;
    for (const char* pin : {"", "123", "123456789", "12a4", " 1234", "١٢٣٤"})
        EXPECT_FALSE(GigmoraConfig::isPin(QString::fromUtf8(pin))) << pin;
    EXPECT_TRUE(GigmoraConfig::isPin(GigmoraConfig::makePin()));
}

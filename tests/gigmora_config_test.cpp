#include "settings/GigmoraConfig.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/TempHome.h"

#include <QFileInfo>
#include <gtest/gtest.h>

using namespace helpers;

// Gigmora.conf as written by hand (preferences_test sets it through the panes).
class GigmoraConfigTest : public ::testing::Test {
protected:
    void SetUp() override { TempHome::clear(); }
    static void write(const QByteArray& ini) { writeFile(GigmoraConfig::filePath(), ini); }
};

// A PIN keeps its leading zero; reading writes nothing.
TEST_F(GigmoraConfigTest, SettingsRoundTrip) {
    GigmoraConfig::daw();
    EXPECT_FALSE(QFileInfo::exists(GigmoraConfig::filePath()));
    GigmoraConfig::Daw daw{GigmoraConfig::Daw::Control::SessionManager,
                           R"(/opt/Ardour 8/bin/ardour8 --no-splash "--name=Live Set")", true, 15};
    daw.mainOutputs = {"Mixer/out", "Cues/out"};
    daw.directOutputs = {"Monitor/"};
    daw.spilloverMs = 2500;
    daw.transportOnSwitch = GigmoraConfig::Daw::Transport::StopOld;
    GigmoraConfig::setDaw(daw);
    EXPECT_TRUE(GigmoraConfig::daw() == daw);
    const GigmoraConfig::Remote remote{true, 9000, "0042", "192.168.1.20"};
    GigmoraConfig::setRemote(remote);
    EXPECT_TRUE(GigmoraConfig::remote() == remote);

    write("[daw]\nstandby=true\noutputs=mixer:in_7, mixer:in_8, , mixer:in_9\n"
          "transportOnSwitch=play-new\n");
    daw = GigmoraConfig::daw();
    EXPECT_TRUE(daw.standby);
    EXPECT_EQ(daw.outputs, (QStringList{"mixer:in_7", "mixer:in_8", "", "mixer:in_9"}))
        << "a channel each, the third connected nowhere";
    EXPECT_EQ(daw.transportOnSwitch, GigmoraConfig::Daw::Transport::PlayNew);
    write("[daw]\noutputs=\n");
    EXPECT_TRUE(GigmoraConfig::daw().outputs.isEmpty()) << "connected nowhere";
}

// Unusable values fall back to their defaults, one log line each.
TEST_F(GigmoraConfigTest, UnusableValuesKeepTheirDefaults) {
    write("[daw]\ncontrol=pro-tools\ncommand=\"\"\nsaveBeforeSwitch=maybe\nloadTimeout=601\n"
          "crossfade=48001\nspillover=-1\nmainOutputs=\ntransportOnSwitch=rewind\n"
          "[remote]\nenabled=yes\nport=70000\npin=12\naddress=the venue\n");
    LogCapture log;
    EXPECT_TRUE(GigmoraConfig::daw() == GigmoraConfig::Daw{});
    EXPECT_TRUE(GigmoraConfig::remote() == GigmoraConfig::Remote{});
    EXPECT_EQ(log.lines().filter("Gigmora.conf").size(), 12);
    EXPECT_TRUE(log.contains("[remote] pin must be 4 to 8 digits"));
    // A different length: Qt's settings cache rereads a file only when it sees it changed.
    write("[daw]\nloadTimeout=45\n");
    EXPECT_EQ(GigmoraConfig::daw().loadTimeoutSeconds, 45);
    EXPECT_TRUE(GigmoraConfig::isPin("12345678"));
    for (const char* pin : {"", "123456789", "12a4", " 1234", "١٢٣٤"}) // 4 to 8 ASCII digits
        EXPECT_FALSE(GigmoraConfig::isPin(QString::fromUtf8(pin))) << pin;
}

#include "remote/OscRemote.h"
#include "settings/GigmoraConfig.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/OscPeer.h"
#include "support/StageFixture.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
std::string at(quint16 port) {
    return "osc.udp://127.0.0.1:" + std::to_string(port) + "/";
}
} // namespace

// The surface hears the stage at once and after each change ("next" is walked on the stage).
TEST(OscRemote, MessagesAndFeedback) {
    OscRemote remote;
    ASSERT_TRUE(remote.listen(0, {"127.0.0.1", "::1"}));
    remote.publish({.setlist = "Friday", .current = "Opener", .next = "Next: Ballad"});
    QSignalSpy previous(&remote, &OscRemote::previousRequested);
    QSignalSpy song(&remote, &OscRemote::songRequested);
    OscPeer surface(at(remote.port()));
    surface.send("/gigmora/previous", "");
    EXPECT_TRUE(surface.heard("/gigmora/setlist", "Friday")) << "told where the set is at once";
    EXPECT_TRUE(surface.heard("/gigmora/current", "Opener"));
    surface.send("/gigmora/song", "f", 500.0f); // out of range, ignored
    surface.send("/gigmora/song", "f", 3.0f);   // TouchOSC sends floats
    ASSERT_TRUE(waitUntil([&] { return song.size() == 1; }));
    EXPECT_EQ(previous.size(), 1);
    EXPECT_EQ(song[0][0].toInt(), 3);
    DawStatus daw{DawStatus::Phase::Loaded, "Ballad"};
    daw.standby = DawStatus::Phase::Loading;
    daw.next = "Encore";
    remote.publish({.setlist = "Friday",
                    .current = "Ballad",
                    .state = "Ballad loaded (1.1 s) · next: Encore loading…",
                    .daw = daw});
    EXPECT_TRUE(surface.heard("/gigmora/current", "Ballad"));
    EXPECT_TRUE(surface.heard("/gigmora/state", "Ballad loaded (1.1 s) · next: Encore loading…"));
    EXPECT_TRUE(surface.heard("/gigmora/daw", "loaded|Ballad||0||loading|Encore"));
}

// Logged once; garbage datagrams are the OSC fuzzer's.
TEST(OscRemote, SendersNotAllowedAreIgnored) {
    LogCapture log;
    OscRemote remote;
    ASSERT_TRUE(remote.listen(0, {"192.0.2.7"})); // loopback not allowed
    QSignalSpy next(&remote, &OscRemote::nextRequested);
    OscPeer surface(at(remote.port()));
    surface.send("/gigmora/next", "");
    surface.send("/gigmora/next", "");
    ASSERT_TRUE(waitUntil([&] { return log.contains("a sender that is not allowed"); }));
    processEvents();
    EXPECT_EQ(next.size(), 0);
    EXPECT_EQ(log.count("a sender that is not allowed"), 1);
}

// Through the application: Gigmora.conf turns the surface on; "next" runs the trigger's recall.
class OscStage : public StageFixture {};

TEST_F(OscStage, NextFromASurfaceMovesTheSet) {
    GigmoraConfig::setOsc({true, 0});
    makeSetlist({project("Opener.logicx"), project("Ballad.logicx"), project("Encore.logicx")});
    launch();
    ASSERT_TRUE(app->oscRemote());
    selectSetlistRow(0);
    OscPeer surface(at(app->oscRemote()->port()));
    surface.send("/gigmora/next", "");
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 1; }));
    EXPECT_TRUE(surface.heard("/gigmora/current", "Ballad"));
    EXPECT_TRUE(surface.heard("/gigmora/next", "Next: Encore"));
}

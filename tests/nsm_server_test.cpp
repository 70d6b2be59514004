#include "daw/NsmServer.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/OscPeer.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace helpers;

namespace {
void announce(OscPeer& daw, const char* capabilities) {
    daw.send("/nsm/server/announce", "sssiii", "Ardour", capabilities, "ardour", 1, 1,
             int(getpid()));
}
} // namespace

TEST(NsmServer, AnnounceThenOpenFailAndSave) {
    NsmServer server;
    ASSERT_TRUE(server.listen());
    EXPECT_FALSE(server.open("/s/A", "A", "Gigmora.A")) << "no DAW yet";
    QSignalSpy announced(&server, &NsmServer::announced);
    OscPeer daw(server.url().toStdString());
    announce(daw, ":dirty:switch:");
    const auto welcome = daw.waitFor("/reply");
    ASSERT_TRUE(welcome);
    EXPECT_TRUE(welcome->starts_with("/nsm/server/announce|")) << *welcome;
    ASSERT_EQ(announced.size(), 1);
    EXPECT_EQ(announced[0][0].toString(), "Ardour");
    EXPECT_EQ(announced[0][2].toLongLong(), getpid());
    EXPECT_TRUE(server.canSwitch());

    // An open answered is the session manager's tests' (their stand-in DAW never fails).
    QSignalSpy failed(&server, &NsmServer::failed);
    ASSERT_TRUE(server.open("/s/Missing", "Missing", "Gigmora.Missing"));
    EXPECT_EQ(daw.waitFor("/nsm/client/open"), "/s/Missing|Missing|Gigmora.Missing");
    daw.send("/error", "sis", "/nsm/client/open", -9, "The session file is damaged");
    ASSERT_TRUE(waitUntil([&] { return failed.size() == 1; }));
    EXPECT_EQ(failed[0][1].toInt(), -9);
    EXPECT_EQ(failed[0][2].toString(), "The session file is damaged");

    ASSERT_TRUE(server.save());
    EXPECT_TRUE(daw.waitFor("/nsm/client/save"));
}

// Garbage datagrams are the OSC fuzzer's.
TEST(NsmServer, OnlyTheDawThatAnnouncedIsHeard) {
    LogCapture log;
    NsmServer server;
    ASSERT_TRUE(server.listen());
    OscPeer daw(server.url().toStdString());
    announce(daw, ":dirty:");
    ASSERT_TRUE(daw.waitFor("/reply"));
    EXPECT_FALSE(server.canSwitch());
    QSignalSpy replied(&server, &NsmServer::replied);
    QSignalSpy failed(&server, &NsmServer::failed);
    OscPeer stranger(server.url().toStdString());
    stranger.send("/reply", "ss", "/nsm/client/open", "Loaded");
    stranger.send("/error", "sis", "/nsm/client/open", -1, "no");
    ASSERT_TRUE(waitUntil([&] { return log.contains("did not announce itself"); }));

    ASSERT_TRUE(server.open("/s/B", "B", "Gigmora.B"));
    ASSERT_TRUE(daw.waitFor("/nsm/client/open"));
    daw.send("/reply", "ss", "/nsm/client/open", "Loaded");
    EXPECT_TRUE(waitUntil([&] { return replied.size() == 1; }));
    EXPECT_EQ(failed.size(), 0);
}

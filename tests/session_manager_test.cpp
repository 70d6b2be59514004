#include "daw/SessionManager.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QDir>
#include <QSignalSpy>
#include <gtest/gtest.h>
#include <signal.h>

using namespace helpers;

// The session manager with a stand-in DAW (tests/tools/fake_nsm_daw), a real process that
// speaks the protocol through liblo.
class SessionManagerTest : public ::testing::Test {
protected:
    void SetUp() override { TempHome::clear(); }
    static QString session(const QString& name) {
        const QString path = TempHome::home() + "/sessions/" + name;
        QDir().mkpath(path);
        return path;
    }
    static SessionManager::Options daw(QStringList args, int timeoutMs = 5000) {
        return {QStringList{FAKE_NSM_DAW} + args, false, timeoutMs};
    }
    static QStringList loadedPaths(const QSignalSpy& spy) {
        QStringList out;
        for (const auto& call : spy)
            out << call[0].toString();
        return out;
    }
};

// A DAW that can switch opens every song in the one process it was started as.
TEST_F(SessionManagerTest, SwitchesInOneProcess) {
    SessionManager manager(daw({"--caps", ":dirty:switch:"}));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(session("Opener"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
    EXPECT_TRUE(manager.server().canSwitch());
    const qint64 pid = manager.dawProcessId();
    manager.open(session("Ballad"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 2; }));
    EXPECT_EQ(manager.dawProcessId(), pid) << "switched in place";
    EXPECT_EQ(loadedPaths(loaded), (QStringList{session("Opener"), session("Ballad")}));
    EXPECT_TRUE(manager.stateText().startsWith("Ballad loaded ("));
}

// One that cannot switch is started again with the new song.
TEST_F(SessionManagerTest, RestartsADawThatCannotSwitch) {
    SessionManager manager(daw({"--caps", ":dirty:"}));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(session("Opener"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
    const qint64 first = manager.dawProcessId();
    manager.open(session("Ballad"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 2; }));
    EXPECT_NE(manager.dawProcessId(), first);
    EXPECT_NE(::kill(pid_t(first), 0), 0) << "the old one is gone";
    EXPECT_EQ(manager.loadedPath(), session("Ballad"));
}

// Songs asked for during a load (or while the DAW starts): only the latest is opened after it.
TEST_F(SessionManagerTest, OnlyTheLatestSongWaits) {
    SessionManager manager(daw({"--delay", "300"}));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.start();
    ASSERT_TRUE(waitUntil([&] { return manager.stateText().endsWith("is ready"); }));
    manager.open(session("A"));
    for (const char* name : {"B", "C", "D"})
        manager.open(session(name));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 2; }));
    waitUntil([] { return false; }, 700);
    EXPECT_EQ(loadedPaths(loaded), (QStringList{session("A"), session("D")}));

    SessionManager starting(daw({}));
    QSignalSpy first(&starting, &SessionManager::loaded);
    for (const char* name : {"E", "F"})
        starting.open(session(name));
    ASSERT_TRUE(waitUntil([&] { return first.size() == 1; }));
    EXPECT_EQ(loadedPaths(first), QStringList{session("F")});
}

// A DAW that never answers, one that fails, and a song whose session is missing.
TEST_F(SessionManagerTest, SilenceErrorsAndMissingSessions) {
    {
        SessionManager silent(daw({"--never-reply"}, 400));
        silent.open(session("A"));
        EXPECT_TRUE(waitUntil([&] { return silent.stateText().endsWith("is not answering"); }));
    }
    SessionManager manager(daw({"--fail-on", "Broken"}));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(session("Broken"));
    EXPECT_TRUE(waitUntil([&] { return manager.stateText() == "The session is damaged"; }));
    manager.open(session("Fine"));
    EXPECT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
    manager.open(TempHome::home() + "/sessions/Gone");
    EXPECT_EQ(manager.stateText(), "No session at Gone");
    EXPECT_EQ(manager.loadedPath(), session("Fine"));
}

// A killed DAW comes back at once with its song; one that dies three times within a minute
// waits for the next song.
TEST_F(SessionManagerTest, AKilledDawComesBackWithItsSong) {
    SessionManager manager(daw({}));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(session("Opener"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
    for (int death = 1; death <= 2; ++death) {
        const qint64 pid = manager.dawProcessId();
        ::kill(pid_t(pid), SIGKILL);
        ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1 + death; })) << death;
        EXPECT_NE(manager.dawProcessId(), pid);
        EXPECT_EQ(loaded.last()[0].toString(), session("Opener"));
    }
    ::kill(pid_t(manager.dawProcessId()), SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return manager.stateText().contains("keeps stopping"); }));
    EXPECT_EQ(manager.dawProcessId(), 0);
    manager.open(session("Ballad"));
    EXPECT_TRUE(waitUntil([&] { return loaded.size() == 4; }));
    EXPECT_EQ(manager.loadedPath(), session("Ballad"));

    const qint64 last = manager.dawProcessId();
    manager.shutdown(2000);
    EXPECT_NE(::kill(pid_t(last), 0), 0) << "ended with Gigmora";
}

// With saveBeforeSwitch the DAW saves the song it has before it opens the next.
TEST_F(SessionManagerTest, SavesBeforeSwitchingWhenAsked) {
    SessionManager::Options options = daw({});
    options.saveBeforeSwitch = true;
    SessionManager manager(options);
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(session("Opener"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
    QSignalSpy replies(const_cast<NsmServer*>(&manager.server()), &NsmServer::replied);
    manager.open(session("Ballad"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 2; }));
    ASSERT_EQ(replies.size(), 2);
    EXPECT_EQ(replies[0][0].toString(), "/nsm/client/save") << "saved first";
    EXPECT_EQ(replies[1][0].toString(), "/nsm/client/open");
}

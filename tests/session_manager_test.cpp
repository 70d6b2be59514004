#include "daw/CompanionPrograms.h"
#include "daw/DawControl.h"
#include "daw/DawRecord.h"
#include "daw/SessionManager.h"
#include "settings/GigmoraConfig.h"
#include "support/JackAvailable.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QUdpSocket>
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
        SessionManager::Options o{QStringList{FAKE_NSM_DAW} + args, false, timeoutMs};
        o.runtimeFolder = TempHome::home() + "/run";
        return o;
    }
};

// One that cannot switch is started again (switching in place is daw_sessions_test's).
TEST_F(SessionManagerTest, ADawThatCannotSwitchIsStartedAgain) {
    SessionManager manager(daw({"--caps", ":dirty:"}));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(session("Opener"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
    const qint64 first = manager.dawProcessId();
    manager.open(session("Ballad"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 2; }));
    EXPECT_NE(manager.dawProcessId(), first);
    EXPECT_NE(::kill(pid_t(first), 0), 0) << "the old one is gone";
    EXPECT_EQ(loaded[1][0].toString(), session("Ballad"));
}

// A DAW that never answers is ended by the load timer and comes back without that song.
TEST_F(SessionManagerTest, ASilentDawIsEndedAndComesBack) {
    SessionManager silent(daw({"--never-reply"}, 400));
    silent.open(session("A"));
    ASSERT_TRUE(waitUntil([&] { return silent.dawProcessId() > 0; }));
    const qint64 first = silent.dawProcessId();
    EXPECT_TRUE(waitUntil([&] {
        return silent.status() ==
               DawStatus{DawStatus::Phase::Ready, {}, DawStatus::Reason::NoAnswer, 0, "A"};
    })) << silent.stateText().toStdString();
    EXPECT_NE(silent.dawProcessId(), first);
}

// One client id all night: one JACK name.
TEST_F(SessionManagerTest, AnAnnouncedDawOpensTheStageSongOrThePlaceholder) {
    const QString placeholder = TempHome::home() + "/data/Placeholder";
    QString stage = session("Opener");
    SessionManager::Options options = daw({});
    options.placeholder = placeholder;
    options.stageSong = [&] { return stage; };
    {
        SessionManager manager(options);
        QSignalSpy loaded(&manager, &SessionManager::loaded);
        manager.start();
        ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
        EXPECT_EQ(loaded[0][0].toString(), stage) << "opened at the announce, no recall needed";
        manager.open(session("Ballad"));
        ASSERT_TRUE(waitUntil([&] { return readFile(manager.outputFile()).count("OPEN ") == 2; }));
        EXPECT_EQ(readFile(manager.outputFile()).count(" Gigmora DAW\n"), 2) << "one client id";
    }
    stage = TempHome::home() + "/sessions/Gone"; // no session there: the placeholder
    SessionManager manager(options);
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.start();
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
    EXPECT_TRUE(manager.placeholderLoaded());
}

// A song folder of two programs: the second is started beside the DAW under its own id, the
// song counts as loaded once the slower one has its part, and a song without it ends it.
TEST_F(SessionManagerTest, ASongOfTwoProgramsIsLoadedWhenBothHaveIt) {
    GigmoraConfig::setProgramCommand("slow", QStringLiteral(FAKE_NSM_DAW) + " --delay 1500");
    const QString song = session("Both");
    writeFile(song + "/session.nsm", "Fake:fake_nsm_daw:nA\nSlow:slow:nB\n");
    QDir().mkpath(song + "/Fake.nA");
    QDir().mkpath(song + "/Slow.nB");
    SessionManager manager(daw({}));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    QSignalSpy said(&manager, &SessionManager::stateChanged);
    QElapsedTimer clock;
    clock.start();
    manager.open(song);
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }, 10000))
        << manager.stateText().toStdString();
    EXPECT_GE(clock.elapsed(), 1500) << "said before the slower program had the song";
    for (const QList<QVariant>& text : said) // not on stage either while the slower one loads
        EXPECT_FALSE(text[0].toString().contains(QRegularExpression("^Both loaded.* · ")));
    EXPECT_EQ(manager.loadedPath(), song);
    EXPECT_EQ(manager.clientIds(), QStringList({"Gigmora DAW", "Gigmora Slow"}));
    EXPECT_TRUE(readFile(manager.outputFile()).contains(("OPEN " + song + "/Fake.nA").toUtf8()));
    const qint64 slow = manager.companions()->processOf("slow");
    manager.open(session("Alone"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 2; }));
    EXPECT_TRUE(waitUntil([&] { return ::kill(pid_t(slow), 0) != 0; }))
        << "the program the song does without is ended";
}

// One DAW that the JACK server shut out (Ardour after two requests at once) still answers the
// session manager, silent for good: it is started again with its song.
TEST_F(SessionManagerTest, OneDawShutOutByTheJackServerIsStartedAgain) {
    REQUIRE_JACK();
    GigmoraConfig::Daw settings;
    settings.control = GigmoraConfig::Daw::Control::SessionManager;
    settings.command = QStringLiteral(FAKE_NSM_DAW) + " --jack --jack-gone-after 2500";
    DawControl control;
    control.setPlan({{session("Opener")}, 0});
    control.apply(settings);
    ASSERT_TRUE(waitUntil([&] { return control.status().phase == DawStatus::Phase::Loaded; }));
    const qint64 first = control.sessionManager()->dawProcessId();
    EXPECT_TRUE(
        waitUntil([&] { return control.sessionManager()->dawProcessId() != first; }, 20000));
    EXPECT_TRUE(
        waitUntil([&] { return control.sessionManager()->loadedPath() == session("Opener"); }));
}

// A DAW whose client has gone while its process lives on (Hydrogen's crash reporter waits on a
// dialog) counts as dead: it is ended and comes back with its song.
TEST_F(SessionManagerTest, AClientGoneWhileItsProcessLivesIsACrash) {
    SessionManager manager(daw({"--gone-after-opens", "2"}));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(session("Opener"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
    const qint64 first = manager.dawProcessId();
    manager.open(session("Ballad"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 3; }, 10000))
        << manager.stateText().toStdString();
    EXPECT_EQ(loaded[2][0].toString(), session("Ballad")) << "back with its song";
    EXPECT_NE(manager.dawProcessId(), first);
    EXPECT_NE(::kill(pid_t(first), 0), 0) << "the one without a client is gone";
}

// A DAW that quits is not a crash: its last line is said and it waits for the next song.
TEST_F(SessionManagerTest, ADawThatQuitsIsNotACrash) {
    SessionManager manager(daw({"--quit-after", "300"}));
    manager.start();
    ASSERT_TRUE(waitUntil([&] { return manager.status().reason == DawStatus::Reason::Quit; }))
        << manager.stateText().toStdString();
    EXPECT_EQ(manager.status().code, 3);
    EXPECT_TRUE(manager.stateText().contains("FakeDAW: giving up")) << "with its last line";
    EXPECT_EQ(manager.dawProcessId(), 0) << "not started again at once";
    EXPECT_FALSE(QFileInfo::exists(manager.recordFile()));
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(session("Opener"));
    EXPECT_TRUE(waitUntil([&] { return loaded.size() == 1; }));
}

// Gigmora killed while its DAW plays: never two DAWs after it.
class SessionManagerTakeOver : public SessionManagerTest {
protected:
    // A session manager in a process of its own whose DAW has loaded Opener; killed as a crash.
    qint64 crashWithADawPlaying(const QString& folder = runtime()) {
        QProcess host;
        host.start(SESSION_MANAGER_HOST, {folder, session("Opener"), FAKE_NSM_DAW});
        EXPECT_TRUE(waitUntil([&] {
            host.waitForReadyRead(20);
            return host.peek(4096).contains("LOADED");
        }));
        const Result<DawRecord> record = DawRecord::read(folder + "/Gigmora DAW.json");
        EXPECT_TRUE(record && record->loaded == session("Opener"));
        ::kill(pid_t(host.processId()), SIGKILL);
        host.waitForFinished(5000);
        return record ? record->pid : 0;
    }
    SessionManager::Options options() {
        SessionManager::Options o = daw({});
        o.stageSong = [] { return session("Opener"); };
        return o;
    }
    static QString runtime() { return TempHome::home() + "/run"; }
    // Opener as a song of the stand-in and a second program beside it; that one's record.
    static QString twoProgramOpener(const QString& folder = runtime()) {
        GigmoraConfig::setProgramCommand("slow", QStringLiteral(FAKE_NSM_DAW));
        writeFile(session("Opener") + "/session.nsm", "Fake:fake_nsm_daw:nA\nSlow:slow:nB\n");
        for (const char* part : {"/Fake.nA", "/Slow.nB"})
            QDir().mkpath(session("Opener") + part);
        return folder + "/Gigmora DAW programs/Gigmora Slow.json";
    }
    static bool alive(qint64 pid) { return DawProcess::startTimeOf(pid) != 0; }
};

TEST_F(SessionManagerTakeOver, TheNextGigmoraDrivesTheDawThatPlays) {
    const qint64 pid = crashWithADawPlaying();
    ASSERT_TRUE(alive(pid)) << "the music goes on without Gigmora";
    SessionManager manager(options());
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    QSignalSpy inDaw(&manager, &SessionManager::songInDaw); // the stage moves to it
    manager.start();
    EXPECT_EQ(manager.dawProcessId(), pid);
    EXPECT_EQ(inDaw.value(0).value(0).toString(), session("Opener"));
    manager.open(session("Ballad"));
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; })) << manager.stateText().toStdString();
    EXPECT_EQ(manager.loadedPath(), session("Ballad"));
    EXPECT_EQ(manager.dawProcessId(), pid) << "switched in the DAW that played";

    // A DAW taken over is still watched: killed, it comes back.
    ::kill(pid_t(pid), SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 2; })) << manager.stateText().toStdString();
    EXPECT_NE(manager.dawProcessId(), pid);
    EXPECT_EQ(manager.loadedPath(), session("Ballad"));
    const qint64 last = manager.dawProcessId();
    manager.shutdown(2000);
    EXPECT_FALSE(alive(last));
    EXPECT_FALSE(QFileInfo::exists(manager.recordFile())) << "nothing left for the next Gigmora";
    EXPECT_FALSE(QFileInfo::exists(runtime())) << "nor its output";
}

// A song of two programs: the next Gigmora takes over both, and neither loads it again.
TEST_F(SessionManagerTakeOver, BothProgramsOfASongPlayOnUnderTheNextGigmora) {
    const QString record = twoProgramOpener();
    crashWithADawPlaying();
    const Result<DawRecord> synth = DawRecord::read(record);
    ASSERT_TRUE(synth && alive(synth->pid));
    SessionManager manager(options());
    manager.start();
    ASSERT_TRUE(waitUntil([&] {
        return manager.companions() && manager.companions()->processOf("slow") == synth->pid;
    }));
    QTest::qWait(300);
    EXPECT_EQ(readFile(runtime() + "/Gigmora DAW programs/Gigmora Slow.log").count("OPEN "), 1);
    EXPECT_EQ(manager.loadedPath(), session("Opener"));
}

TEST_F(SessionManagerTakeOver, OneThatCannotBeTakenOverIsEndedFirst) {
    const qint64 pid = crashWithADawPlaying();
    ASSERT_TRUE(alive(pid));
    const Result<DawRecord> record = DawRecord::read(runtime() + "/Gigmora DAW.json");
    ASSERT_TRUE(record);
    QUdpSocket squatter; // another program has the session manager's port now
    ASSERT_TRUE(squatter.bind(QHostAddress::LocalHost, record->serverPort,
                              QAbstractSocket::DontShareAddress));
    SessionManager manager(options());
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.start();
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }, 15000))
        << manager.stateText().toStdString();
    EXPECT_FALSE(alive(pid)) << "ended before the new one started";
    EXPECT_NE(manager.dawProcessId(), pid);
    EXPECT_EQ(manager.loadedPath(), session("Opener"));
}

// Nothing would drive a DAW left by a crash under the default control, and it holds the audio.
TEST_F(SessionManagerTakeOver, TheDefaultControlEndsALeftoverDaw) {
    const QString record = twoProgramOpener(DawControl::runtimeFolder()); // its synth too
    const qint64 pid = crashWithADawPlaying(DawControl::runtimeFolder());
    const Result<DawRecord> synth = DawRecord::read(record);
    ASSERT_TRUE(alive(pid) && synth && alive(synth->pid));
    DawControl control;
    control.apply(GigmoraConfig::Daw{});
    EXPECT_TRUE(waitUntil([&] { return !alive(pid) && !alive(synth->pid); }));
    EXPECT_TRUE(waitUntil(
        [] { return !QFileInfo::exists(DawControl::runtimeFolder() + "/Gigmora DAW.json"); }));
}

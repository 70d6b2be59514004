#include "daw/CompanionPrograms.h"
#include "daw/DawControl.h"
#include "daw/SessionManager.h"
#include "settings/GigmoraConfig.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"
#include "support/OscPeer.h"
#include "support/RealArdour.h"
#include "support/StageFixture.h"
#include "support/StageStatus.h"
#include "support/TempHome.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <gtest/gtest.h>
#include <signal.h>

#include <jack/jack.h>

using namespace helpers;

// Debian's ZynAddSubFX as the session manager's program: a song is a ".xmz" patch, made here by
// the synth itself, and which one it plays is read back from its own OSC port. Never skips:
// without the program it fails and says why.
class SynthSession : public StageFixture {
protected:
    void SetUp() override {
        ASSERT_FALSE(QStandardPaths::findExecutable("zynaddsubfx").isEmpty())
            << "zynaddsubfx is not installed (scripts/setup installs it)";
        StageFixture::SetUp();
    }
    // A ZynAddSubFX on `port`, with or without JACK; its OSC port once it answers.
    static std::unique_ptr<OscPeer> synth(QProcess& process, int port, const QStringList& io) {
        process.start("zynaddsubfx", QStringList{"-U", "-P", QString::number(port)} + io);
        auto peer = std::make_unique<OscPeer>("osc.udp://127.0.0.1:" + std::to_string(port) + "/");
        for (int i = 0; i < 50 && !peer->waitFor("/Pkeyshift", 200); ++i)
            peer->send("/Pkeyshift", "");
        return peer;
    }
    const int port_ = 17000 + int(QCoreApplication::applicationPid() % 1000);
    ArdourDisplay display_; // outlives the application, which looks at it for dialogs
};

// Three patches, each its own key shift, switched by program change 127 in one synth, each
// loaded as the stage says, the load said to be assumed (the synth reports no failed load).
TEST_F(SynthSession, ThreePatchesSwitchOnTriggers) {
    const QStringList names{"Lead", "Pad", "Bass"};
    QStringList songs;
    {
        QProcess maker;
        auto peer = synth(maker, port_, {"-I", "null", "-O", "null"});
        for (int i = 0; i < names.size(); ++i) {
            songs << TempHome::home() + "/synth/" + names[i] + ".xmz";
            QDir().mkpath(QFileInfo(songs.last()).path());
            peer->send("/Pkeyshift", "i", 60 + i);
            peer->send("/save_xmz", "s", songs.last().toUtf8().constData());
            ASSERT_TRUE(waitUntil([&] { return QFileInfo::exists(songs.last()); }, 5000));
        }
        maker.terminate();
        maker.waitForFinished(5000);
    }
    GigmoraConfig::Daw settings;
    settings.control = GigmoraConfig::Daw::Control::SessionManager;
    settings.command = QStringLiteral("zynaddsubfx -U -I jack -O jack -P %1").arg(port_);
    GigmoraConfig::setDaw(settings);
    makeSetlist(songs);
    launch();
    OscPeer ask("osc.udp://127.0.0.1:" + std::to_string(port_) + "/");
    // A keyboard on the synth's MIDI input, which the synth drops with its client at a switch.
    JackTestClient keyboard("keyboard");
    for (int i = 0; i < names.size(); ++i) {
        if (i == 1) {
            ASSERT_EQ(jack_connect(keyboard.client(), "keyboard:out", "Gigmora DAW:midi_input"), 0);
        }
        if (i > 0) midi->send({0xC0, 0x7F});
        ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing(names[i]); }, 30000))
            << app->window()->performanceView()->dawState().toStdString();
        EXPECT_TRUE(app->window()->performanceView()->dawState().contains("assumed"));
        ask.send("/Pkeyshift", "");
        EXPECT_EQ(ask.waitFor("/Pkeyshift"), std::to_string(60 + i)) << names[i].toStdString();
        if (i < 1) continue;
        jack_port_t* out = jack_port_by_name(keyboard.client(), "keyboard:out");
        EXPECT_TRUE(waitUntil([&] {
            return jack_port_connected_to(out, "Gigmora DAW:midi_input");
        })) << "the keyboard connected again after "
            << names[i].toStdString();
    }
}

// Debian's Hydrogen 1.2 (beta) runs under a crash reporter of its own: when Hydrogen crashes,
// the reporter lives on with the process id Gigmora started, showing "Hydrogen exited
// abnormally". Gigmora counts it dead by its client, ends it, and brings it back with the song.
TEST_F(SynthSession, HydrogenThatCrashesComesBackWithItsSong) {
    ASSERT_FALSE(QStandardPaths::findExecutable("hydrogen").isEmpty())
        << "hydrogen is not installed (scripts/setup installs it)";
    ASSERT_NO_FATAL_FAILURE(display_.start()); // Hydrogen has no headless mode
    // Hydrogen's own demo songs, each in a folder of its own as Hydrogen keeps its sessions.
    const QDir demos("/usr/share/hydrogen/data/demo_songs");
    const QStringList demo = demos.entryList({"*.h2song"});
    ASSERT_GE(demo.size(), 2);
    QStringList songs;
    for (const char* name : {"Shuffle", "Swing"}) {
        songs << TempHome::home() + "/drums/" + name;
        QDir().mkpath(songs.last());
        QFile::copy(demos.filePath(demo[songs.size() - 1]), songs.last() + "/" + name + ".h2song");
    }
    GigmoraConfig::Daw settings;
    settings.control = GigmoraConfig::Daw::Control::SessionManager;
    settings.command = QStringLiteral("hydrogen");
    GigmoraConfig::setDaw(settings);
    makeSetlist(songs);
    launch();
    ASSERT_TRUE(sendAndWaitHandled({0xC0, 0x7F}));
    ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing("Swing"); }, 60000))
        << app->window()->performanceView()->dawState().toStdString();
    SessionManager* hydrogen = app->dawControl()->sessionManager();
    const qint64 reporter = hydrogen->dawProcessId();
    QProcess children;
    children.start("pgrep", {"-P", QString::number(reporter)});
    children.waitForFinished(5000);
    const QList<QByteArray> pids = children.readAllStandardOutput().split('\n');
    ASSERT_FALSE(pids.value(0).isEmpty()) << "no Hydrogen under its crash reporter";
    ASSERT_EQ(::kill(pid_t(pids[0].toLongLong()), SIGSEGV), 0);
    ASSERT_TRUE(waitUntil([&] { return hydrogen->dawProcessId() != reporter; }, 15000))
        << "the reporter of a crashed Hydrogen was left running";
    EXPECT_TRUE(waitUntil([&] { return daw() == stage::playing("Swing"); }, 60000))
        << app->window()->performanceView()->dawState().toStdString();
    EXPECT_NE(::kill(pid_t(reporter), 0), 0) << "its crash reporter is gone";
}

// A song folder of two programs, Ardour and ZynAddSubFX, as new-session-manager keeps one: its
// "session.nsm" and each program's part beside it. One process of each plays the whole set,
// under JACK names that hold; a trigger switches both, and a song of Ardour alone ends the synth.
TEST_F(SynthSession, ASongOfTwoProgramsSwitchesBoth) {
    ASSERT_NO_FATAL_FAILURE(display_.start());
    ASSERT_NO_FATAL_FAILURE(writeArdourConfig());
    const QString base = ardourSession("Base");
    QStringList songs;
    {
        QProcess maker;
        auto peer = synth(maker, port_, {"-I", "null", "-O", "null"});
        for (const QString name : {"One", "Two", "Three"}) {
            songs << TempHome::home() + "/songs/" + name;
            QDir().mkpath(songs.last());
            // Ardour keeps "NAME.ID" with a snapshot named without the id.
            const QString ardour = copySession(base, "Ardour");
            ASSERT_TRUE(QDir().rename(ardour, songs.last() + "/Ardour.nARDR"));
            QByteArray list = "Ardour:ardour7:nARDR\n";
            if (name != QLatin1String("Three")) {
                const QString patch = songs.last() + "/ZynAddSubFX.nZYNA.xmz";
                peer->send("/Pkeyshift", "i", 60 + int(songs.size()));
                peer->send("/save_xmz", "s", patch.toUtf8().constData());
                ASSERT_TRUE(waitUntil([&] { return QFileInfo::exists(patch); }, 5000));
                list += "ZynAddSubFX:zynaddsubfx:nZYNA\n";
            }
            writeFile(songs.last() + "/session.nsm", list);
        }
        maker.terminate();
        maker.waitForFinished(5000);
    }
    GigmoraConfig::Daw settings;
    settings.control = GigmoraConfig::Daw::Control::SessionManager;
    GigmoraConfig::setDaw(settings);
    GigmoraConfig::setProgramCommand(
        "zynaddsubfx", QStringLiteral("zynaddsubfx -U -I jack -O jack -P %1").arg(port_));
    makeSetlist(songs);
    launch();
    OscPeer ask("osc.udp://127.0.0.1:" + std::to_string(port_) + "/");
    SessionManager* ardour = app->dawControl()->sessionManager();
    JackTestClient look("look");
    qint64 processes[2] = {};
    for (int i = 0; i < 2; ++i) {
        if (i > 0) midi->send({0xC0, 0x7F});
        const QString name = QFileInfo(songs[i]).fileName();
        ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing(name); }, 120000))
            << app->window()->performanceView()->dawState().toStdString();
        ask.send("/Pkeyshift", "");
        EXPECT_EQ(ask.waitFor("/Pkeyshift"), std::to_string(61 + i)) << name.toStdString();
        ASSERT_TRUE(ardour->companions());
        const qint64 now[2] = {ardour->dawProcessId(),
                               ardour->companions()->processOf("zynaddsubfx")};
        EXPECT_NE(now[1], 0);
        if (i > 0) {
            EXPECT_EQ(now[0], processes[0]) << "one Ardour all night";
            EXPECT_EQ(now[1], processes[1]) << "one synth all night";
        }
        std::copy(now, now + 2, processes);
        // One synth client, under the name it had (Ardour's is the session manager tests').
        QStringList clients;
        EXPECT_TRUE(waitUntil([&] {
            clients = dawJackClients(look.client()).filter("ZynAddSubFX");
            return clients == QStringList{"Gigmora ZynAddSubFX"};
        })) << clients.join(", ").toStdString();
        // A keyboard on the synth, which drops it with its client at the switch.
        if (i == 0) {
            ASSERT_EQ(jack_connect(look.client(), "look:out", "Gigmora ZynAddSubFX:midi_input"), 0);
            continue;
        }
        EXPECT_TRUE(waitUntil([&] {
            return jack_port_connected_to(jack_port_by_name(look.client(), "look:out"),
                                          "Gigmora ZynAddSubFX:midi_input");
        })) << "the keyboard connected again";
    }
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing("Three"); }, 60000))
        << app->window()->performanceView()->dawState().toStdString();
    EXPECT_EQ(ardour->dawProcessId(), processes[0]);
    EXPECT_TRUE(waitUntil([&] { return ::kill(pid_t(processes[1]), 0) != 0; }, 15000))
        << "the synth the song does without was left running";
    EXPECT_FALSE(dawJackClients(look.client()).contains("Gigmora ZynAddSubFX"));
}

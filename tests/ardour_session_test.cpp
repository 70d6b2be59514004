#include "app/CheckCommand.h"
#include "app/PerformanceView.h"
#include "app/SetlistCheckDialog.h"
#include "daw/DawControl.h"
#include "daw/DawProcess.h"
#include "daw/DawRecord.h"
#include "daw/SessionManager.h"
#include "library/ObjectContext.h"
#include "midi/backends/jack/JackMidiServices.h"
#include "settings/GigmoraConfig.h"
#include "settings/Prefs.h"
#include "support/LibraryHelpers.h"
#include "support/RealArdour.h"
#include "support/StageFixture.h"
#include "support/StageStatus.h"
#include "support/TempHome.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTextStream>
#include <QTreeWidget>
#include <gtest/gtest.h>
#include <signal.h>

using namespace helpers;

// The session manager with the DAW a musician uses: Debian's Ardour, under Xvfb, on the test
// JACK server. It never skips: without Ardour, Xvfb or the JACK server it fails and says why.
class ArdourSession : public ::testing::Test {
protected:
    void SetUp() override {
        TempHome::clear();
        ASSERT_NO_FATAL_FAILURE(display_.start());
    }
    ArdourDisplay display_;
};

// A killed Ardour comes back with its song.
TEST_F(ArdourSession, SwitchesInPlaceAndComesBackAfterAKill) {
    const QString a = ardourSession("SongA"), b = ardourSession("SongB");
    SessionManager manager({{"ardour"}, false, 90000});
    QSignalSpy loaded(&manager, &SessionManager::loaded);
    manager.open(a);
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 1; }, 120000))
        << "Ardour did not load SongA: " << manager.stateText().toStdString();
    EXPECT_TRUE(manager.server().canSwitch()) << manager.server().capabilities().toStdString();
    const qint64 pid = manager.dawProcessId();
    manager.open(b);
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 2; }, 60000))
        << manager.stateText().toStdString();
    EXPECT_EQ(manager.dawProcessId(), pid) << "one Ardour, switched in place";
    EXPECT_TRUE(waitUntil([&] { return titled("SongB"); }, 10000));
    std::printf("Ardour: SongA in %lld ms, then SongB in %lld ms\n", loaded[0][1].toLongLong(),
                loaded[1][1].toLongLong());

    ::kill(pid_t(pid), SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return loaded.size() == 3; }, 120000))
        << manager.stateText().toStdString();
    EXPECT_NE(manager.dawProcessId(), pid);
    EXPECT_EQ(manager.loadedPath(), b);
    manager.shutdown(10000);
}

// `gigmora check --load`: each song timed in an Ardour of the check's own, the one that stops on
// a question named with it, the set going on after it, and no Ardour left behind.
TEST_F(ArdourSession, TheLivePassNamesTheSongThatStopsOnADialog) {
    ASSERT_NO_FATAL_FAILURE(writeArdourConfig());
    const GigmoraConfig::Daw daw = useSessionManager();
    const QString opener = ardourSession("Opener", 48000, 1, 1000),
                  finale = ardourSession("Finale");
    saveSetlist("Gig", {opener, ardourSession("Odd", 44100), finale});
    const Printed check = runCommand(CheckCommand::run, {"--load", "--setlist", "Gig"});
    const QString said = check.out + check.err;
    std::printf("%s", qPrintable(said));
    EXPECT_EQ(check.code, 65);
    for (const QRegularExpression& line :
         {QRegularExpression("\n  Opener: loaded in \\d+\\.\\d s\n"),
          QRegularExpression("\n  Odd: did not load: Ardour asks \"Sample Rate Mismatch\""),
          QRegularExpression("\n  Finale: loaded in \\d+\\.\\d s\n"),
          QRegularExpression("\n  Slowest: (Opener|Finale), \\d+\\.\\d s\\.\n")})
        EXPECT_TRUE(line.match(said).hasMatch()) << line.pattern().toStdString();
    const auto noArdour = [] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return ardourProcesses() == 0;
    };
    EXPECT_TRUE(waitUntil(noArdour, 15000));

    // The window's button runs the same pass after the check; the dialog closed while it loads
    // ends it without waiting for Ardour, which is ended all the same.
    for (const bool closeEarly : {false, true}) {
        SetlistCheckDialog dialog("Gig", {{"Opener", opener}, {"Finale", finale}}, daw);
        QSignalSpy checked(&dialog, &SetlistCheckDialog::checked);
        QSignalSpy loaded(&dialog, &SetlistCheckDialog::loaded);
        ASSERT_TRUE(checked.wait(30000));
        for (QAbstractButton* b : dialog.buttons()->buttons())
            if (b->accessibleName() == "Load Each Song") b->click();
        if (closeEarly) break;
        ASSERT_TRUE(loaded.wait(180000));
        const QTreeWidgetItem* loads =
            dialog.results()->topLevelItem(dialog.results()->topLevelItemCount() - 1);
        EXPECT_EQ(loads->text(0), "Loaded in Ardour, one song after the other");
        EXPECT_TRUE(loads->child(1)->text(0).startsWith("Finale: loaded in "))
            << loads->child(1)->text(0).toStdString();
    }
    EXPECT_TRUE(waitUntil(noArdour, 15000)) << "the check's Ardour outlived its dialog";
}

// The whole stage with Ardour: triggers from a JACK client, the Perform view confirming each load.
class ArdourStage : public StageFixture {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(display_.start()); // fails, never skips, without JACK
        StageFixture::SetUp();
        useSessionManager();
    }
    ArdourDisplay display_;
};

// Left alone, Gigmora keeps one Ardour with the stage's song; then the set plays through in it.
TEST_F(ArdourStage, LeftAloneThenASetlistPlaysThroughOnProgramChange127) {
    makeSetlist({ardourSession("Opener"), ardourSession("Ballad"), ardourSession("Encore")});
    launch();
    PerformanceView* stage = app->window()->performanceView();
    ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing("Opener"); }, 120000))
        << stage->dawState().toStdString();
    const qint64 pid = app->dawControl()->sessionManager()->dawProcessId();
    // Under load Ardour's engine sometimes halts after its first session (its JACK socket
    // closes) and comes back with the next switch: whatever clients it has, only the fixed name.
    for (const QString& name : dawJackClients(midi->client()))
        EXPECT_EQ(name, "Gigmora DAW");
    // 45 s of the band setting up: Ardour neither ends nor is replaced, the stage keeps its song.
    SessionManager* manager = app->dawControl()->sessionManager();
    EXPECT_FALSE(waitUntil(
        [&] {
            return DawProcess::startTimeOf(pid) == 0 || manager->dawProcessId() != pid ||
                   daw() != stage::playing("Opener");
        },
        45000))
        << "left alone: " << stage->dawState().toStdString();
    EXPECT_EQ(app->dawControl()->sessionManager()->dawProcessId(), pid) << "the same Ardour";
    EXPECT_TRUE(daw() == stage::playing("Opener")) << stage->dawState().toStdString();
    EXPECT_EQ(selectedSetlistRow(), 0) << "the stage is on the song Ardour has";
    EXPECT_TRUE(titled("Opener"));
    for (const char* name : {"Ballad", "Encore"}) {
        midi->send({0xC0, 0x7F});
        ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing(name); }, 60000))
            << name << ": " << stage->dawState().toStdString();
        EXPECT_TRUE(waitUntil([&] { return titled(name); }, 10000)) << name;
        // Ardour registers its ports again after a switch: under the same name.
        QElapsedTimer ports;
        ports.start();
        EXPECT_TRUE(waitUntil(
            [&] { return dawJackClients(midi->client()) == QStringList{"Gigmora DAW"}; }, 60000))
            << name << ": " << dawJackClients(midi->client()).join(", ").toStdString();
        std::printf("%s: ports back after %lld ms\n", name, ports.elapsed());
    }
    EXPECT_EQ(closeCommands(), 2u) << "the close command still goes out";
    EXPECT_EQ(app->dawControl()->sessionManager()->dawProcessId(), pid) << "one Ardour";
    EXPECT_EQ(ardourProcesses(), 1);
    EXPECT_TRUE(openedFiles().isEmpty()) << "no desktop entry was run";
}

// Gigmora killed mid-set: Ardour plays on; the next Gigmora takes it over instead of a second.
TEST_F(ArdourStage, AGigmoraKilledMidSetLeavesOneArdourThatTheNextDrives) {
    makeSetlist({ardourSession("Opener"), ardourSession("Ballad"), ardourSession("Encore")});
    ASSERT_TRUE(app->managedObjectContext()->save());
    app.reset();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    QProcess first;
    first.setProcessEnvironment(env);
    first.setProcessChannelMode(QProcess::ForwardedChannels);
    first.start(GIGMORA_BINARY);
    ASSERT_TRUE(first.waitForStarted());
    const QString recordFile = DawControl::runtimeFolder() + "/Gigmora DAW.json";
    ASSERT_TRUE(waitUntil(
        [&] {
            const auto r = DawRecord::read(recordFile);
            return r && r->loaded.endsWith("/Opener");
        },
        120000))
        << "the first Gigmora's Ardour did not load Opener";
    const qint64 pid = DawRecord::read(recordFile)->pid;
    ::kill(pid_t(first.processId()), SIGKILL);
    ASSERT_TRUE(first.waitForFinished(5000));
    {
        // The killed Gigmora's client goes once no process holds its sockets: Ardour has none.
        JackTestClient probe("gigmora-probe-crash");
        EXPECT_TRUE(
            waitUntil([&] { return probe.countPortsNamed("Gigmora Virtual Input") == 0; }, 10000))
            << "the killed Gigmora's JACK client stays";
    }
    ASSERT_EQ(DawProcess::startTimeOf(pid) != 0, true) << "Ardour plays on without Gigmora";

    app = std::make_unique<AppDelegate>(std::make_unique<JackMidiServices>());
    app->sharedPrefs()->prefsSelectedDAWDelay = 0.3f;
    launch();
    PerformanceView* stage = app->window()->performanceView();
    EXPECT_EQ(app->dawControl()->sessionManager()->dawProcessId(), pid) << "taken over";
    EXPECT_EQ(daw(), stage::playing("Opener")) << "kept playing";
    processEvents();
    EXPECT_EQ(selectedSetlistRow(), 0) << "the stage is on the song Ardour plays";
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing("Ballad"); }, 60000))
        << stage->dawState().toStdString();
    EXPECT_TRUE(waitUntil([&] { return titled("Ballad"); }, 10000));
    EXPECT_EQ(app->dawControl()->sessionManager()->dawProcessId(), pid);
    EXPECT_EQ(ardourProcesses(), 1) << "never two";
    EXPECT_TRUE(waitUntil(
        [&] { return dawJackClients(midi->client()) == QStringList{"Gigmora DAW"}; }, 10000));
}

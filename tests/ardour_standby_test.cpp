#include "app/PerformanceView.h"
#include "daw/DawControl.h"
#include "daw/StandbyDaws.h"
#include "performance/StageState.h"
#include "settings/GigmoraConfig.h"
#include "support/AudioProbe.h"
#include "support/LibraryHelpers.h"
#include "support/RealArdour.h"
#include "support/StageFixture.h"
#include "support/StageStatus.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <signal.h>

#include <jack/jack.h>

using namespace helpers;

// Gapless song changes with Debian's real Ardour, twice: each instance's Master bus gets a
// constant of its own from a feeding client, a listening client hears Gigmora's outputs, and
// program change 127 plays a setlist through. Never skips: without Ardour, Xvfb or the JACK
// server it fails and says why.
class ArdourStandby : public StageFixture {
protected:
    static constexpr float kLevels[2] = {0.25f, 0.5f};

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(display_.start());
        StageFixture::SetUp();
        ASSERT_TRUE(listener_.isOpen() && feeds_[0].isOpen() && feeds_[1].isOpen());
        ASSERT_EQ(jack_connect(witness_.client(), witness_.outputName(0).toUtf8().constData(),
                               witnessIn_.inputName(0).toUtf8().constData()),
                  0);
        ASSERT_NO_FATAL_FAILURE(writeArdourConfig());
        GigmoraConfig::Daw daw;
        daw.control = GigmoraConfig::Daw::Control::SessionManager;
        daw.standby = true;
        daw.outputs = {listener_.inputName(0), listener_.inputName(1)};
        daw.transportOnSwitch = GigmoraConfig::Daw::Transport::PlayNew;
        GigmoraConfig::setDaw(daw);
    }
    // Ardour registers its ports again after every load: the feeds follow them.
    void keepFed() {
        // Looked at in the client first: asking the server every poll would load it.
        const auto link = [](jack_client_t* client, const QString& from, const QString& to) {
            jack_port_t* port = jack_port_by_name(client, from.toUtf8().constData());
            if (port && jack_port_by_name(client, to.toUtf8().constData()) &&
                !jack_port_connected_to(port, to.toUtf8().constData()))
                jack_connect(client, from.toUtf8().constData(), to.toUtf8().constData());
        };
        for (int i = 0; i < 2; ++i)
            for (const char* bus : {"Master", "Cues"}) // a session without cues has no Cues
                for (int c = 0; c < 2; ++c)
                    link(feeds_[i].client(), feeds_[i].outputName(c),
                         QStringLiteral("%1:%2/audio_in %3")
                             .arg(StandbyDaws::clientId(i), bus)
                             .arg(c + 1));
    }
    // The MIDI and main ports on the server and their connections, for a failure to show.
    std::string graph() {
        std::string out = "\n";
        const char** ports =
            jack_get_ports(listener_.client(), "MMC|Master|Cues|Click|Gigmora Audio", nullptr, 0);
        for (const char** p = ports; p && *p; ++p) {
            out += std::string(*p) + " ->";
            const char** to = jack_port_get_all_connections(
                listener_.client(), jack_port_by_name(listener_.client(), *p));
            for (const char** q = to; q && *q; ++q)
                out += std::string(" ") + *q;
            jack_free(to);
            out += "\n";
        }
        jack_free(ports);
        return out;
    }
    // Periods heard from the `from`th (to the `to`th) with silence in them.
    size_t silentPeriods(size_t from, size_t to = SIZE_MAX) const {
        const auto heard = listener_.heard();
        size_t silent = 0;
        for (size_t i = from; i < std::min(to, heard.size()); ++i)
            silent += heard[i].first < 0.2f || heard[i].last < 0.2f;
        return silent;
    }
    // Where the first silent periods from the `from`th were, in ms after it, and what they held.
    std::string silences(size_t from) const {
        const auto heard = listener_.heard();
        std::string out;
        int shown = 0;
        for (size_t i = from; i < heard.size() && shown < 20; ++i)
            if ((heard[i].first < 0.2f || heard[i].last < 0.2f) && ++shown)
                out += QStringLiteral(" %1 ms (%2..%3)")
                           .arg((heard[i].start - heard[from].start) / 48)
                           .arg(heard[i].first)
                           .arg(heard[i].last)
                           .toStdString();
        return out;
    }
    // Whether the instance's Master bus gets its constant.
    bool fed(int instance) {
        keepFed();
        jack_port_t* port = jack_port_by_name(feeds_[instance].client(),
                                              feeds_[instance].outputName(0).toUtf8().constData());
        return port && jack_port_connected(port) > 0;
    }
    // Which instance the outputs carry now (-1: neither, silence or a mix).
    int heardInstance() {
        keepFed();
        const auto heard = listener_.heard();
        if (heard.empty()) return -1;
        for (int i = 0; i < 2; ++i)
            if (std::abs(heard.back().last - kLevels[i]) < 0.02f) return i;
        return -1;
    }

    ArdourDisplay display_;
    // Two trivial clients passing a count: the periods the server itself loses.
    AudioProbe witness_{"witness out", -1.0f};
    AudioProbe witnessIn_{"witness in"};
    AudioProbe listener_{"stage listener"};
    AudioProbe feeds_[2] = {AudioProbe("feed A", kLevels[0]), AudioProbe("feed B", kLevels[1])};
};

TEST_F(ArdourStandby, ASetlistPlaysThroughWithoutAGap) {
    std::setvbuf(stdout, nullptr, _IONBF, 0); // the figures, even if a later step hangs
    // The benchmark plays a longer set (GIGMORA_TEST_SONGS), without killing the standby.
    const int count = qEnvironmentVariableIntValue("GIGMORA_TEST_SONGS");
    QStringList names{"Opener", "Ballad", "Encore", "Finale"};
    if (count > 0) {
        names.clear();
        for (int i = 1; i <= count; ++i)
            names << QStringLiteral("Song %1").arg(i);
    }
    // Heavy: eight stereo tracks of four plugins each, as on a stage that plays backing tracks.
    const int tracks = qEnvironmentVariableIntValue("GIGMORA_TEST_HEAVY") > 0 ? 8 : 0;
    QStringList sessions;
    for (const QString& name : names)
        sessions << ardourSession(name, 48000, tracks);
    std::printf("JACK %s, sessions of %d track(s)\n",
                jack_is_realtime(listener_.client()) ? "in real time" : "not in real time", tracks);
    makeSetlist(sessions);
    launch();
    PerformanceView* stage = app->window()->performanceView();
    const auto stageSays = [&](const DawStatus& status) {
        keepFed();
        return daw() == status;
    };
    ASSERT_TRUE(waitUntil([&] { return stageSays(stage::playing(names[0], names[1])); }, 180000))
        << stage->dawState().toStdString() << graph();
    ASSERT_TRUE(waitUntil([&] { return heardInstance() == 0; }, 20000))
        << "the first instance at the outputs" << graph();
    const size_t firstHeard = listener_.heard().size();
    const size_t witnessFrom = witnessIn_.heard().size();
    // Both instances loaded and left alone: every period carries the song.
    QTest::qWait(5000);
    EXPECT_LE(silentPeriods(firstHeard), witnessIn_.stale(witnessFrom))
        << "with both instances idle" << silences(firstHeard);
    EXPECT_EQ(ardourProcesses(), 2);
    QStringList clients = dawJackClients(listener_.client());
    for (const char* ours : {"feed A", "feed B", "gigmora-test", "witness in", "witness out"})
        clients.removeAll(ours);
    clients.sort();
    EXPECT_EQ(clients, (QStringList{"Gigmora DAW", "Gigmora Second DAW"}));

    size_t killedAt = 0, backAt = 0, witnessInKill = 0;
    int expected = 0;
    for (int song = 1; song < names.size(); ++song) {
        expected = 1 - expected;
        ASSERT_TRUE(waitUntil([&] { return fed(expected); }, 20000)) << "the feed of the standby";
        const size_t before = listener_.heard().size();
        jack_port_t* mmc =
            jack_port_by_name(listener_.client(), (QString(AudioRouter::kTransportName) + ":" +
                                                   AudioRouter::mmcName(expected))
                                                      .toUtf8()
                                                      .constData());
        EXPECT_TRUE(mmc && jack_port_connected_to(
                               mmc, (StandbyDaws::clientId(expected) + ":MMC in").toUtf8()))
            << "the standby hears the transport before it is ready";
        midi->send({0xC0, 0x7F});
        ASSERT_TRUE(waitUntil([&] { return heardInstance() == expected; }, 10000))
            << names[song].toStdString() << ": " << stage->dawState().toStdString() << graph();
        const auto heard = listener_.heard();
        // Counted in the listener's periods from the one in which the trigger was sent: the
        // dummy driver's frame times are too loose to count with.
        size_t periods = 0;
        for (size_t i = before; i < heard.size(); ++i) {
            EXPECT_GT(std::min(heard[i].first, heard[i].last), 0.2f)
                << names[song].toStdString() << ": a silent period";
            if (std::abs(heard[i].last - kLevels[expected]) < 0.02f) {
                periods = i - before;
                break;
            }
        }
        EXPECT_LE(periods, 2u) << names[song].toStdString();
        std::printf("%s: heard %zu period(s) after the trigger\n", qPrintable(names[song]),
                    periods);
        const DawStatus next = song + 1 < names.size()
                                   ? stage::playing(names[song], names[song + 1])
                                   : stage::playingLast(names[song]);
        QElapsedTimer standby;
        standby.start();
        ASSERT_TRUE(waitUntil([&] { return stageSays(next); }, 120000))
            << stage->dawState().toStdString() << graph();
        std::printf("%s: %s (standby ready after %lld ms)\n", qPrintable(names[song]),
                    qPrintable(stage->dawState()), standby.elapsed());
        if (song == 1 && count == 0) {
            // The standby killed: the song on stage plays on, unbroken, and the standby comes
            // back with the next song.
            StandbyDaws* daws = app->dawControl()->standbyDaws();
            killedAt = listener_.heard().size();
            const size_t witnessAtKill = witnessIn_.stale(0);
            ASSERT_EQ(::kill(pid_t(daws->instance(1 - expected)->dawProcessId()), SIGKILL), 0);
            ASSERT_TRUE(waitUntil([&] { return daw().standby == stage::Phase::Starting; }))
                << stage->dawState().toStdString();
            std::printf("Killed the standby: %s\n", qPrintable(stage->dawState()));
            ASSERT_TRUE(waitUntil([&] { return stageSays(next); }, 120000))
                << stage->dawState().toStdString() << graph();
            // A crash, not a load: until the server has dropped the dead client, the router
            // waits for it in every period. Counted apart.
            backAt = listener_.heard().size();
            witnessInKill = witnessIn_.stale(0) - witnessAtKill;
            std::printf("Back: %s (%zu silent period(s) meanwhile)\n",
                        qPrintable(stage->dawState()), silentPeriods(killedAt, backAt));
        }
    }
    const size_t silent = silentPeriods(firstHeard) - silentPeriods(killedAt, backAt);
    const size_t lost = witnessIn_.stale(witnessFrom) - witnessInKill;
    std::printf("Silent periods over the set, the standby's death aside: %zu of %zu; the witness "
                "lost %zu\n",
                silent, listener_.heard().size() - firstHeard - (backAt - killedAt), lost);
    EXPECT_LE(silent, lost) << "the song that plays lost periods to the other instance's loads";
    EXPECT_EQ(ardourProcesses(), 2);
    EXPECT_TRUE(openedFiles().isEmpty()) << "no desktop entry was run";
    EXPECT_TRUE(QFileInfo::exists(StandbyDaws::configHome(1) + "/ardour7"))
        << "the second Ardour keeps its configuration in a home of its own";
}

// A rig's cues on a bus of their own, four channels through the router: the cues swap with the
// music in the same period, and no audio output of either Ardour, its click included, reaches
// anything but the router.
TEST_F(ArdourStandby, CuesSwapWithTheMusicAndNothingElseIsHeard) {
    GigmoraConfig::Daw settings = GigmoraConfig::daw();
    settings.outputs = {listener_.inputName(0), "", listener_.inputName(1), ""};
    settings.mainOutputs = {"Master/audio_out", "Cues/audio_out"};
    GigmoraConfig::setDaw(settings);
    makeSetlist(
        {ardourSession("Opener", 48000, 0, 0, true), ardourSession("Ballad", 48000, 0, 0, true)});
    launch();
    const auto pastTheRouter = [&] {
        QStringList heard;
        for (int i = 0; i < 2; ++i) {
            const QString pattern = "^" + StandbyDaws::clientId(i) + ":";
            const char** ports = jack_get_ports(listener_.client(), pattern.toUtf8(),
                                                JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput);
            for (const char** p = ports; p && *p; ++p) {
                const char** to = jack_port_get_all_connections(
                    listener_.client(), jack_port_by_name(listener_.client(), *p));
                for (const char** q = to; q && *q; ++q)
                    if (!QByteArray(*q).startsWith("Gigmora Audio:"))
                        heard << QString("%1 -> %2").arg(*p, *q);
                jack_free(to);
            }
            jack_free(ports);
        }
        return heard;
    };
    const auto cuesOf = [&](int instance) {
        const auto h = listener_.heard();
        return !h.empty() && std::abs(h.back().right - kLevels[instance]) < 0.02f;
    };
    ASSERT_TRUE(waitUntil(
        [&] {
            keepFed();
            return daw() == stage::playing("Opener", "Ballad");
        },
        180000))
        << graph();
    ASSERT_TRUE(waitUntil([&] { return heardInstance() == 0 && cuesOf(0); }, 20000)) << graph();
    ASSERT_TRUE(jack_port_by_name(listener_.client(), "Gigmora Second DAW:Click/audio_out 1"));
    EXPECT_EQ(pastTheRouter(), QStringList()) << graph();
    const size_t before = listener_.heard().size();
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitUntil([&] { return heardInstance() == 1 && cuesOf(1); }, 10000)) << graph();
    const auto heard = listener_.heard();
    for (size_t i = before; i < heard.size(); ++i)
        EXPECT_EQ(std::abs(heard[i].last - kLevels[1]) < 0.02f,
                  std::abs(heard[i].right - kLevels[1]) < 0.02f)
            << "period " << i - before << ": the music and its cues swap together";
    ASSERT_TRUE(waitUntil(
        [&] {
            keepFed();
            return daw() == stage::playingLast("Ballad");
        },
        120000))
        << graph();
    EXPECT_EQ(pastTheRouter(), QStringList()) << graph();
}

// A song recorded at 44.1 kHz on a 48 kHz server stops Ardour's load on a question. The stage
// names it within seconds, the instance is ended and comes back with the song after it, a recall
// of the song is refused with the reason, and the set goes on; the song that plays sounds on.
// The song is second in line: an Ardour that starts with it at times loads it without asking.
TEST_F(ArdourStandby, ASongThatAsksIsPassedOverAndTheSetGoesOn) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    makeSetlist({ardourSession("Opener"), ardourSession("Second"), ardourSession("Odd", 44100),
                 ardourSession("Finale")});
    QString named; // the words the stage had when it named the song
    launch();
    PerformanceView* stage = app->window()->performanceView();
    QObject::connect(app->stageState(), &StageState::changed, [&](const StageSnapshot& now) {
        if (named.isEmpty() && now.daw.refused == "Odd" &&
            now.daw.reason == DawStatus::Reason::Dialog)
            named = now.state;
    });
    const auto stageSays = [&](const DawStatus& status) {
        keepFed();
        return daw() == status;
    };
    ASSERT_TRUE(waitUntil([&] { return stageSays(stage::playing("Opener", "Second")); }, 180000))
        << stage->dawState().toStdString();
    midi->send({0xC0, 0x7F});
    QElapsedTimer loading;
    loading.start();
    // Ardour's Master bus delays what it passes: measured once the song is heard.
    ASSERT_TRUE(waitUntil([&] { return heardInstance() == 1; }, 10000)) << graph();
    // From here on the song that plays sounds throughout: the stuck instance, its end and its
    // return, the refusal and the swap.
    const size_t from = listener_.heard().size();
    const size_t witnessFrom = witnessIn_.heard().size();
    ASSERT_TRUE(waitUntil([&] { return !named.isEmpty(); }, 15000))
        << stage->dawState().toStdString();
    std::printf("Named %lld ms after the load began: %s\n", loading.elapsed(), qPrintable(named));
    ASSERT_TRUE(waitUntil([&] { return stageSays(stage::playing("Second", "Finale")); }, 120000))
        << stage->dawState().toStdString() << graph();
    midi->send({0xC0, 0x7F});
    DawStatus refused = stage::playing("Second", "Finale");
    refused.refused = "Odd";
    refused.reason = DawStatus::Reason::Dialog;
    ASSERT_TRUE(waitUntil([&] { return stageSays(refused); }, 10000))
        << stage->dawState().toStdString();
    EXPECT_EQ(heardInstance(), 1) << "the song that plays goes on";
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitUntil([&] { return heardInstance() == 0; }, 10000)) << graph();
    ASSERT_TRUE(waitUntil([&] { return stageSays(stage::playingLast("Finale")); }, 10000))
        << stage->dawState().toStdString();
    EXPECT_EQ(silentPeriods(from), witnessIn_.stale(witnessFrom)) << silences(from);
}

// With one DAW, the song that asks is named, Ardour is ended and comes back with nothing open,
// and the next trigger loads the next song.
TEST_F(ArdourStandby, OneDawNamesASongThatAsksAndGoesOn) {
    GigmoraConfig::Daw one = GigmoraConfig::daw();
    one.standby = false;
    GigmoraConfig::setDaw(one);
    makeSetlist({ardourSession("Opener"), ardourSession("Odd", 44100), ardourSession("Finale")});
    launch();
    PerformanceView* stage = app->window()->performanceView();
    ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing("Opener"); }, 180000))
        << stage->dawState().toStdString();
    const qint64 first = app->dawControl()->sessionManager()->dawProcessId();
    QElapsedTimer asked;
    asked.start();
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitUntil(
        [&] { return daw().refused == "Odd" && daw().reason == DawStatus::Reason::Dialog; }, 15000))
        << stage->dawState().toStdString();
    std::printf("Named %lld ms after the trigger\n", asked.elapsed());
    ASSERT_TRUE(waitUntil([&] { return daw().phase == stage::Phase::Ready; }, 120000))
        << stage->dawState().toStdString();
    EXPECT_NE(app->dawControl()->sessionManager()->dawProcessId(), first);
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing("Finale"); }, 60000))
        << stage->dawState().toStdString();
}

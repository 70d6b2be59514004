#include "daw/StandbyDaws.h"
#include "settings/GigmoraConfig.h"
#include "support/JackAvailable.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"
#include "support/StageStatus.h"
#include "support/TempHome.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <gtest/gtest.h>
#include <signal.h>

#include <jack/jack.h>

using namespace helpers;

// Two stand-in DAWs (tests/tools/fake_nsm_daw) under the standby scheduling, with the router.
class StandbyDawsTest : public ::testing::Test {
protected:
    void SetUp() override {
        TempHome::clear();
        for (const char* name : {"Opener", "Ballad", "Encore"})
            songs_ << session(name);
    }
    static QString session(const QString& name) {
        const QString path = TempHome::home() + "/sessions/" + name;
        QDir().mkpath(path);
        return path;
    }
    // The running order Opener, Ballad, Encore; the stage stands on the first.
    StandbyDaws::Options options(int delayMs = 200) {
        StandbyDaws::Options o;
        o.daw.program = {FAKE_NSM_DAW, "--jack", "--delay", QString::number(delayMs)};
        o.daw.loadTimeoutMs = 5000;
        o.daw.placeholder = session("Placeholder");
        o.router = {{}, 64, 0};
        o.plan = {songs_, 0};
        return o;
    }
    static bool ready(const StandbyDaws& d, const QString& playing, const QString& next) {
        return d.status() == stage::playing(playing, next);
    }
    QStringList songs_;
};

// On real processes: the standby takes the second song, a recall swaps in the call, and the
// instance left behind loads the third.
TEST_F(StandbyDawsTest, TheStandbyAlwaysHoldsTheNextSong) {
    REQUIRE_JACK();
    StandbyDaws daws(options());
    daws.start();
    ASSERT_TRUE(daws.routed());
    ASSERT_TRUE(waitUntil([&] { return ready(daws, "Opener", "Ballad"); }, 10000))
        << daws.stateText().toStdString();
    EXPECT_EQ(daws.router().target(), 0);
    EXPECT_EQ(daws.instance(0)->loadedPath(), songs_[0]);

    ASSERT_TRUE(daws.swapsAtOnce(songs_[1]));
    daws.open(songs_[1]);
    EXPECT_EQ(daws.router().target(), 1) << "swapped in the call";
    EXPECT_EQ(daws.active(), 1);
    ASSERT_TRUE(waitUntil([&] { return ready(daws, "Ballad", "Encore"); }, 10000))
        << daws.stateText().toStdString();
    EXPECT_EQ(daws.instance(0)->loadedPath(), songs_[2]);
}

// Songs of two programs: the standby is ready once both have its song, and each synth is kept
// to its own instance: cut from the speakers, and moved to its own instance's synth where a
// session saved under the first instance's names connected the other's.
TEST_F(StandbyDawsTest, ASongOfTwoProgramsIsReadyWithBothAndHeardOnlyThroughTheRouter) {
    REQUIRE_JACK();
    GigmoraConfig::setProgramCommand("slow", QStringLiteral(FAKE_NSM_DAW) + " --jack --delay 1500");
    for (const QString& song : {songs_[0], songs_[1]}) {
        writeFile(song + "/session.nsm", "Fake:fake_nsm_daw:nA\nSlow:slow:nB\n");
        for (const char* part : {"/Fake.nA", "/Slow.nB"})
            QDir().mkpath(song + part);
    }
    QElapsedTimer clock;
    clock.start();
    StandbyDaws daws(options());
    daws.start();
    ASSERT_TRUE(waitUntil([&] { return ready(daws, "Opener", "Ballad"); }, 10000))
        << daws.stateText().toStdString();
    EXPECT_GE(clock.elapsed(), 1500) << "ready before the slower program had the song";
    JackTestClient look("look");
    const auto connected = [&](const char* from, const char* to) {
        return jack_port_connected_to(jack_port_by_name(look.client(), from), to);
    };
    const char* synthB = "Gigmora Second Slow:Master/audio_out 1";
    const char* trackB = "Gigmora Second DAW:Track/audio_in 1";
    ASSERT_EQ(jack_connect(look.client(), synthB, "system:playback_1"), 0);
    ASSERT_EQ(jack_connect(look.client(), "Gigmora Slow:Master/audio_out 1", trackB), 0);
    EXPECT_TRUE(waitUntil([&] {
        return !connected(synthB, "system:playback_1") && connected(synthB, trackB) &&
               !connected("Gigmora Slow:Master/audio_out 1", trackB);
    })) << "a synth heard past the router, or by the other instance";
}

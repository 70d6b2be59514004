#include "daw/StandbyDaws.h"
#include "support/JackAvailable.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/StageStatus.h"
#include "support/TempHome.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <gtest/gtest.h>
#include <signal.h>

using namespace helpers;

// Two stand-in DAWs (tests/tools/fake_nsm_daw, real processes speaking the protocol) under the
// standby scheduling, with the router on the test's JACK server.
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

// The plan carried out on real processes and the router: launched on the first song, the
// standby takes the second, a recall of it swaps in the call, and the instance left behind
// loads the third.
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

// A killed standby comes back with its song, and the stage says what happened meanwhile; one
// that keeps dying stays down, and then one DAW does everything, as without a standby.
TEST_F(StandbyDawsTest, ADeadStandbyFallsBackToOneDaw) {
    REQUIRE_JACK();
    StandbyDaws daws(options());
    bool downSaid = false;
    QObject::connect(&daws, &StandbyDaws::stateChanged, [&] {
        downSaid |=
            daws.status().song == "Opener" && daws.status().standby == stage::Phase::Starting;
    });
    daws.start();
    ASSERT_TRUE(waitUntil([&] { return ready(daws, "Opener", "Ballad"); }, 10000));
    for (int death = 1; death <= SessionManager::kDeathsBeforeGivingUp; ++death) {
        const qint64 standby = daws.instance(1)->dawProcessId();
        ASSERT_GT(standby, 0) << "death " << death;
        ASSERT_EQ(::kill(pid_t(standby), SIGKILL), 0);
        if (death == SessionManager::kDeathsBeforeGivingUp) break;
        ASSERT_TRUE(waitUntil(
            [&] {
                const qint64 now = daws.instance(1)->dawProcessId();
                return now != standby && now > 0 && ready(daws, "Opener", "Ballad");
            },
            10000))
            << "back after death " << death << ": " << daws.stateText().toStdString();
    }
    EXPECT_TRUE(downSaid) << "the stage said the standby was down";
    ASSERT_TRUE(waitUntil([&] { return daws.status().standby == stage::Phase::Stopped; }))
        << daws.stateText().toStdString();
    daws.open(songs_[2]);
    ASSERT_TRUE(waitUntil([&] { return daws.instance(0)->loadedPath() == songs_[2]; }, 10000));
    EXPECT_EQ(daws.router().target(), 0) << "the one DAW loaded it itself";
}

// A DAW the JACK server has shut out lives on without a port and would never be heard again:
// it is ended and comes back with its song.
TEST_F(StandbyDawsTest, ADawCutOffFromJackComesBack) {
    REQUIRE_JACK();
    StandbyDaws::Options o = options();
    o.daw.program << "--drop-jack"
                  << "Gigmora Second DAW";
    StandbyDaws daws(std::move(o));
    LogCapture log;
    daws.start();
    ASSERT_TRUE(waitUntil([&] { return daws.instance(1)->loadedPath() == songs_[1]; }, 10000));
    const qint64 first = daws.instance(1)->dawProcessId();
    ASSERT_TRUE(waitUntil(
        [&] { return log.contains("Gigmora Second DAW has no port on the JACK server"); }, 15000));
    ASSERT_TRUE(waitUntil(
        [&] {
            return daws.instance(1)->dawProcessId() != first && daws.instance(1)->isUp() &&
                   daws.instance(1)->loadedPath() == songs_[1];
        },
        10000))
        << daws.stateText().toStdString();
    EXPECT_EQ(daws.instance(0)->loadedPath(), songs_[0]) << "the one playing is left alone";
}

// The second instance writes its configuration in a home of its own, which starts as a copy of
// the musician's configuration of that DAW.
TEST_F(StandbyDawsTest, TheSecondInstanceHasAConfigurationOfItsOwn) {
    const QString own = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    ASSERT_TRUE(QDir().mkpath(own + "/fake_nsm_daw7/templates"));
    QFile prefs(own + "/fake_nsm_daw7/templates/t.template");
    ASSERT_TRUE(prefs.open(QIODevice::WriteOnly));
    prefs.write("the musician's");
    prefs.close();
    const QString home = StandbyDaws::configHome(1);
    EXPECT_TRUE(StandbyDaws::configHome(0).isEmpty());
    EXPECT_FALSE(home.startsWith(own + "/fake_nsm_daw"));
    { StandbyDaws daws(options()); }
    QFile copy(home + "/fake_nsm_daw7/templates/t.template");
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), "the musician's");
    ASSERT_TRUE(prefs.open(QIODevice::WriteOnly));
    prefs.write("changed since");
    prefs.close();
    { StandbyDaws daws(options()); }
    copy.close();
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), "the musician's") << "copied once; then it keeps its own";
}

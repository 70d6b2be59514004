#include "daw/StandbyPlan.h"

#include <QStringList>
#include <functional>
#include <gtest/gtest.h>
#include <map>

// The standby pair's plan as tables, against a small world that does what the commands say.
// The running order is Opener, Ballad, Odd, Encore; time moves only by "wait".
namespace {
using Kind = StandbyPlan::Command::Kind;
const QStringList kOrder{"/s/Opener", "/s/Ballad", "/s/Odd", "/s/Encore"};

QString name(const QString& path) {
    return path.mid(3);
}

struct World {
    StandbyPlan plan{{kOrder, 0}, 0};
    StandbyPlan::Facts f;
    int armed = -1;

    QString run(const StandbyPlan::Commands& commands) {
        const int before = armed;
        QStringList out;
        for (const StandbyPlan::Command& c : commands) {
            const size_t i = size_t(c.instance);
            const QString n = QString::number(c.instance);
            if (c.kind == Kind::OpenIn) f.daws[i].pending = c.path;
            if (c.kind == Kind::Route) f.router.listensTo[i] = f.router.hasInput[i] = c.listen;
            if (c.kind == Kind::SwapTo) f.router.target = c.instance;
            if (c.kind == Kind::Arm) armed = c.instance; // said after the refresh, when it changes
            const QString said[] = {"open " + name(c.path) + " in " + n,
                                    (c.listen ? "route " : "unroute ") + n,
                                    "swap to " + n,
                                    "",
                                    "again " + n,
                                    "spillover",
                                    "records"}; // by kind
            if (!said[int(c.kind)].isEmpty()) out << said[int(c.kind)];
        }
        for (const StandbyPlan::Command& c : plan.refresh(f)) // an Arm, said when it changes
            if (c.kind == Kind::Arm) armed = c.instance;
        if (armed != before) out << (armed < 0 ? "disarm" : "arm " + QString::number(armed));
        return out.join(" | ");
    }
    StandbyPlan::Daw& daw(int i) { return f.daws[size_t(i)]; }
};

struct Step {
    const char* event;
    const char* commands;
};

// Events: "start", "has N Song", "load N" (its pending song), "fail N", "down N", "cut N" (no
// port), "open Song", "trigger", "spill" (ended), "wait MS", "says TEXT" (the stage's text).
void play(World& w, const std::vector<Step>& steps) {
    using Commands = StandbyPlan::Commands;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.event);
        const QStringList e = QString(step.event).split(' ');
        const int n = e.value(1).toInt();
        if (e[0] == "says") {
            EXPECT_EQ(w.plan.text().toStdString(), step.commands);
            continue;
        }
        const auto take = [&] { return std::exchange(w.daw(n).pending, QString()); };
        const std::map<QString, std::function<Commands()>> events{
            {"start", [&] { return w.plan.start(true, false, w.f); }},
            {"has",
             [&] {
                 w.daw(n) = {true, "/s/" + e[2]};
                 return w.plan.loaded(n, "/s/" + e[2], w.f);
             }},
            {"load", [&] { return w.plan.loaded(n, w.daw(n).loaded = take(), w.f); }},
            {"fail",
             [&] {
                 return w.plan.cannotLoad(n, take(), "it asks", DawStatus::Reason::Dialog, w.f);
             }},
            {"down",
             [&] {
                 w.daw(n) = {false,           {}, {}, false, true, {DawStatus::Phase::Starting},
                             "Ardour stopped"};
                 return Commands();
             }},
            {"cut", [&] { return w.daw(n).hasPorts = false, Commands(); }},
            {"open", // the recall moves the stage, then opens
             [&] {
                 w.plan.setStage({kOrder, int(kOrder.indexOf("/s/" + e[1]))});
                 return w.plan.open("/s/" + e[1], w.f);
             }},
            {"trigger", [&] { return w.f.router.target = w.armed, Commands(); }},
            {"spill", [&] { return w.plan.spilloverEnded(w.f); }},
            {"wait", [&] { return w.f.now += e[1].toLongLong(), w.plan.look(false, w.f); }}};
        ASSERT_TRUE(events.count(e[0])) << "no such event";
        QString out = w.run(events.at(e[0])());
        // After a look, the swap that its routing allows.
        const QString swapped = e[0] == "wait" ? w.run(w.plan.swapIfReady(w.f)) : QString();
        if (!swapped.isEmpty()) out += " | " + swapped;
        EXPECT_EQ(out.toStdString(), step.commands);
    }
}

// The standby takes the next song and is armed once settled; after a swap and its spillover,
// the instance left behind loads the song after the new one.
const std::vector<Step> kTwoUp{{"start", ""},
                               {"has 0 Opener", "route 0"},
                               {"has 1 Ballad", "unroute 1"},
                               {"says", "Opener playing · next: Ballad loading…"},
                               {"wait 500", "route 1 | arm 1"},
                               {"says", "Opener playing · next: Ballad ready"}};
} // namespace

TEST(StandbyPlan, TheStandbyAlwaysHoldsTheNextSong) {
    World w;
    play(w, kTwoUp);
    play(w, {{"trigger", "disarm"},
             {"open Ballad", "swap to 1 | records | spillover"},
             {"says", "Ballad playing"},
             {"spill", "unroute 0 | open Odd in 0"},
             {"load 0", "unroute 0"},
             {"wait 500", "route 0 | arm 0"},
             {"says", "Ballad playing · next: Odd ready"},
             // A song not ready anywhere: the one that plays sounds on while it loads.
             {"open Encore", "unroute 0 | open Encore in 0 | disarm"},
             {"load 0", "unroute 0"},
             {"wait 500", "route 0 | swap to 0 | records | spillover"},
             {"spill", ""},
             {"open Encore", ""}});
}

// A song that cannot load is passed over; a recall of it is refused once, then tried again.
TEST(StandbyPlan, ASongThatCannotLoadIsPassedOver) {
    World w;
    play(w, kTwoUp);
    play(w, {{"open Ballad", "swap to 1 | records | spillover | disarm"},
             {"spill", "unroute 0 | open Odd in 0"},
             {"fail 0", ""},
             {"spill", "unroute 0 | open Encore in 0"},
             {"load 0", "unroute 0"},
             {"wait 500", "route 0"},
             {"open Odd", "arm 0"},
             {"says", "Ballad playing · Odd cannot load: it asks · next: Encore ready"},
             {"open Odd", "unroute 0 | open Odd in 0 | disarm"}});
    EXPECT_EQ(w.plan.status().refused, "");
}

// With the standby down one instance plays; one cut off from the server is started again.
TEST(StandbyPlan, WithoutAStandbyOneDawPlays) {
    World w;
    play(w, kTwoUp);
    play(w, {{"down 1", "disarm"},
             {"says", "Opener playing · standby: Ardour stopped"},
             {"open Ballad", "open Ballad in 0"},
             {"has 1 Encore", "unroute 1"},
             {"cut 1", ""},
             {"wait 8000", "route 1 | again 1"}});
    EXPECT_EQ(w.plan.status().standby, DawStatus::Phase::Ready);
    EXPECT_EQ(w.plan.songFor(1, w.f), "") << "a session is never open in both";
}

#include "daw/SessionPlan.h"

#include <QStringList>
#include <functional>
#include <gtest/gtest.h>
#include <map>

// The one-DAW plan as tables: each row is an event, written as a line, and the commands it
// gives, written the same way. Songs are session folders under /s/; time moves only by "wait".
namespace {
QString said(const SessionPlan::Commands& commands) {
    // Each kind's words, in the order of the kinds: $s the song, $t the text, $m the time.
    static const char* const kWords[] = {"launch",    "restart",    "kill",
                                         "open $s",   "save",       "timer",
                                         "no timer",  "record",     "loaded $s in $m",
                                         "in DAW $s", "adopted $s", "cannot load $s: $t",
                                         "'$t'"};
    QStringList out;
    for (const SessionPlan::Command& c : commands)
        out << QString(kWords[int(c.kind)])
                   .replace("$s", SessionPlan::songName(c.path))
                   .replace("$t", c.text)
                   .replace("$m", QString::number(c.ms));
    return out.join(" | ");
}

struct Step {
    const char* event;
    const char* commands;
};

// Events: "start", "open A", "open missing A", "announce [switch] [stage A] [standby]",
// "took A [stage B]", "reply open|save", "fail open CODE", "timeout", "question TEXT",
// "crash", "quit STATUS", "again", "wait MS".
void play(const std::vector<Step>& steps, SessionPlan::Settings settings = {}) {
    if (settings.name.isEmpty()) settings = {"Ardour", "Ardour", "/s/Placeholder", false, 5000};
    SessionPlan plan(settings);
    qint64 now = 0;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.event);
        const QStringList w = QString(step.event).split(' ');
        const auto after = [&](const QString& word) {
            const qsizetype at = w.indexOf(word);
            return at >= 0 && at + 1 < w.size() ? "/s/" + w[at + 1] : QString();
        };
        using Ending = SessionPlan::Ending;
        const std::map<QString, std::function<SessionPlan::Commands()>> events{
            {"start", [&] { return plan.start(now); }},
            {"open", [&] { return plan.open("/s/" + w.last(), w[1] != "missing", now); }},
            {"announce",
             [&] {
                 return plan.announced(w.contains("switch"), after("stage"), w.contains("standby"),
                                       now);
             }},
            {"took", [&] { return plan.tookOver("/s/" + w[1], true, after("stage"), now); }},
            {"reply", [&] { return plan.replied("/nsm/client/" + w[1], now); }},
            {"fail", [&] { return plan.failed("/nsm/client/" + w[1], w[2].toInt(), {}, now); }},
            {"timeout", [&] { return plan.timedOut(now); }},
            {"question", [&] { return plan.question(w.mid(1).join(' '), now); }},
            {"crash", [&] { return plan.exited(Ending::Crashed, 0, {}, now); }},
            {"quit", [&] { return plan.exited(Ending::Quit, w[1].toInt(), {}, now); }},
            {"again", [&] { return plan.startAgain(); }},
            {"wait", [&] { return now += w[1].toLongLong(), SessionPlan::Commands(); }}};
        ASSERT_TRUE(events.count(w[0])) << "no such event";
        const SessionPlan::Commands out = events.at(w[0])();
        EXPECT_EQ(said(out).toStdString(), step.commands);
    }
}
} // namespace

TEST(SessionPlan, SongsOpenInOneProcessOrByAStart) {
    // One that can switch opens each song in place, timed from the request.
    play({{"open A", "'Starting Ardour…' | launch"},
          {"wait 300", ""},
          {"announce switch", "record | 'Loading A…' | timer | open A"},
          {"wait 200", ""},
          {"reply open", "no timer | 'A loaded (0.5 s)' | record | loaded A in 500"},
          {"open B", "'Loading B…' | timer | open B"},
          {"reply open", "no timer | 'B loaded (0.0 s)' | record | loaded B in 0"}});
    // One that cannot is started again with the new song, which its announce opens. A question
    // before any song is for someone to answer in the DAW; after, it is not looked at.
    play({{"start", "'Starting Ardour…' | launch"},
          {"question Audio setup", ""},
          {"wait 2000", ""},
          {"question Audio setup", "'Ardour asks \"Audio setup\"'"},
          {"announce stage A", "record | 'Loading A…' | timer | open A"},
          {"reply open", "no timer | 'A loaded (0.0 s)' | record | loaded A in 0 | in DAW A"},
          {"question Save changes", ""},
          {"wait 5000", ""},
          {"question Save changes", ""},
          {"open B", "'Loading B…' | timer | restart | 'Starting Ardour…'"},
          {"announce", "record | open B"},
          {"reply open", "no timer | 'B loaded (0.0 s)' | record | loaded B in 0"}});
    // Asked to save first, it opens the next song once saved; the placeholder is never saved.
    SessionPlan::Settings saving{"Ardour", "Ardour", "/s/Placeholder", true, 5000};
    play({{"start", "'Starting Ardour…' | launch"},
          {"announce switch", "record | 'Loading Placeholder…' | timer | open Placeholder"},
          {"reply open", "no timer | 'Ardour ready, no song loaded' | record | loaded "
                         "Placeholder in 0"},
          {"open A", "'Loading A…' | timer | open A"},
          {"reply open", "no timer | 'A loaded (0.0 s)' | record | loaded A in 0"},
          {"open B", "'Loading B…' | timer | save"},
          {"reply save", "open B"}},
         saving);
    // Only the latest song asked for waits.
    play({{"open A", "'Starting Ardour…' | launch"},
          {"open B", ""},
          {"announce switch", "record | 'Loading B…' | timer | open B"},
          {"open C", ""},
          {"open D", ""},
          {"reply open", "no timer | 'B loaded (0.0 s)' | record | loaded B in 0 | 'Loading D…' "
                         "| timer | open D"}});
}

// The song that cannot load stays named until the next is asked for.
TEST(SessionPlan, ALoadThatCannotBeIsGivenUp) {
    play({{"open A", "'Starting Ardour…' | launch"},
          {"announce switch", "record | 'Loading A…' | timer | open A"},
          {"open B", ""},
          {"fail open 3", "no timer | 'Ardour could not open A' | 'Loading B…' | timer | open B"},
          {"timeout", "no timer | 'B cannot load: Ardour did not answer within 5 s · Starting "
                      "Ardour again…' | cannot load B: Ardour did not answer within 5 s | kill"},
          {"crash", "no timer | 'B cannot load: Ardour did not answer within 5 s · Starting "
                    "Ardour…' | launch"},
          {"announce switch stage B", "record | 'B cannot load: Ardour did not answer within 5 s "
                                      "· Loading Placeholder…' | timer | open Placeholder"},
          {"reply open", "no timer | 'B cannot load: Ardour did not answer within 5 s · Ardour "
                         "ready, no song loaded' | record | loaded Placeholder in 0"},
          {"open missing C", "'No session at C'"},
          {"open B", "'Loading B…' | timer | open B"},
          {"question Missing files", ""},
          {"wait 1000", ""},
          {"question Missing files", ""},
          {"wait 1000", ""},
          {"question Missing files",
           "no timer | 'B cannot load: Ardour asks \"Missing files\" · Starting Ardour again…' | "
           "cannot load B: Ardour asks \"Missing files\" | kill"}});
}

// Three deaths within a minute, or a quit, wait for the next song; a kill of ours is no death.
TEST(SessionPlan, DeathsQuitsAndTakeOvers) {
    const char* back = "record | 'Loading A…' | timer | open A";
    play({{"open A", "'Starting Ardour…' | launch"},
          {"announce switch", back},
          {"reply open", "no timer | 'A loaded (0.0 s)' | record | loaded A in 0"},
          {"crash", "no timer | 'Ardour stopped; starting it again…' | 'Starting Ardour…' | "
                    "launch"},
          {"announce switch", back},
          {"again", "no timer | kill"},
          {"crash", "no timer | 'Starting Ardour…' | launch"},
          {"announce switch", back},
          {"wait 61000", ""},
          {"crash", "no timer | 'Ardour stopped; starting it again…' | 'Starting Ardour…' | "
                    "launch"},
          {"announce switch", back},
          {"crash", "no timer | 'Ardour stopped; starting it again…' | 'Starting Ardour…' | "
                    "launch"},
          {"crash", "no timer | 'Ardour keeps stopping; it starts again with the next song'"},
          {"open B", "'Starting Ardour…' | launch"},
          {"quit 3", "no timer | 'Ardour quit (status 3); it starts again with the next song'"},
          {"open B", "'Starting Ardour…' | launch"}});
    // Back from a death, a standby takes the song it stands by for, not the one it had.
    play({{"start", "'Starting Ardour…' | launch"},
          {"announce switch stage A", "record | 'Loading A…' | timer | open A"},
          {"reply open", "no timer | 'A loaded (0.0 s)' | record | loaded A in 0 | in DAW A"},
          {"crash", "no timer | 'Ardour stopped; starting it again…' | 'Starting Ardour…' | "
                    "launch"},
          {"announce switch stage C standby", "record | 'Loading C…' | timer | open C"}});
    // Taken over from an earlier Gigmora, a DAW plays on; one with no song gets the stage's.
    play({{"took A stage B", "record | 'A loaded (Ardour kept playing)' | adopted A | in DAW A"}});
    play({{"took Placeholder stage B", "record | 'Loading B…' | timer | open B"},
          {"reply open", "no timer | 'B loaded (0.0 s)' | record | loaded B in 0 | in DAW B"}});
}

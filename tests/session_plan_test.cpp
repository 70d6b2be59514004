#include "daw/SessionPlan.h"

#include <QStringList>
#include <gtest/gtest.h>

// The one-DAW plan as tables: each row is an event, written as a line, and the commands it
// gives, written the same way. Songs are session folders under /s/; time moves only by "wait".
namespace {
using Kind = SessionPlan::Command::Kind;

QString said(const SessionPlan::Commands& commands) {
    QStringList out;
    for (const SessionPlan::Command& c : commands) {
        const QString song = SessionPlan::songName(c.path);
        switch (c.kind) {
        case Kind::Launch: out << "launch"; break;
        case Kind::Restart: out << "restart"; break;
        case Kind::Kill: out << "kill"; break;
        case Kind::SendOpen: out << "open " + song; break;
        case Kind::SendSave: out << "save"; break;
        case Kind::StartTimeout: out << "timer"; break;
        case Kind::StopTimeout: out << "no timer"; break;
        case Kind::WriteRecord: out << "record"; break;
        case Kind::Loaded: out << QStringLiteral("loaded %1 in %2").arg(song).arg(c.ms); break;
        case Kind::SongInDaw: out << "in DAW " + song; break;
        case Kind::Adopted: out << "adopted " + song; break;
        case Kind::CannotLoad: out << "cannot load " + song + ": " + c.text; break;
        case Kind::Status: out << "'" + c.text + "'"; break;
        }
    }
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
        SessionPlan::Commands out;
        if (w[0] == "start") out = plan.start(now);
        else if (w[0] == "open" && w[1] == "missing") out = plan.open("/s/" + w[2], false, now);
        else if (w[0] == "open") out = plan.open("/s/" + w[1], true, now);
        else if (w[0] == "announce")
            out = plan.announced(w.contains("switch"), after("stage"), w.contains("standby"), now);
        else if (w[0] == "took") out = plan.tookOver("/s/" + w[1], true, after("stage"), now);
        else if (w[0] == "reply") out = plan.replied("/nsm/client/" + w[1], now);
        else if (w[0] == "fail") out = plan.failed("/nsm/client/" + w[1], w[2].toInt(), {}, now);
        else if (w[0] == "timeout") out = plan.timedOut(now);
        else if (w[0] == "question") out = plan.question(w.mid(1).join(' '), now);
        else if (w[0] == "crash") out = plan.exited(SessionPlan::Ending::Crashed, 0, {}, now);
        else if (w[0] == "quit") out = plan.exited(SessionPlan::Ending::Quit, w[1].toInt(), {}, now);
        else if (w[0] == "again") out = plan.startAgain();
        else if (w[0] == "wait") now += w[1].toLongLong();
        else FAIL() << "no such event";
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
    // One that cannot is started again with the new song, which its announce opens.
    play({{"start", "'Starting Ardour…' | launch"},
          {"announce stage A", "record | 'Loading A…' | timer | open A"},
          {"reply open", "no timer | 'A loaded (0.0 s)' | record | loaded A in 0 | in DAW A"},
          {"open B", "'Loading B…' | timer | restart | 'Starting Ardour…'"},
          {"announce", "record | open B"},
          {"reply open", "no timer | 'B loaded (0.0 s)' | record | loaded B in 0"}});
    // Asked to save first, it opens the next song once the save is answered; the placeholder
    // is never saved.
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
}

TEST(SessionPlan, OnlyTheLatestSongWaits) {
    play({{"open A", "'Starting Ardour…' | launch"},
          {"open B", ""},
          {"announce switch", "record | 'Loading B…' | timer | open B"},
          {"open C", ""},
          {"open D", ""},
          {"reply open", "no timer | 'B loaded (0.0 s)' | record | loaded B in 0 | 'Loading D…' "
                         "| timer | open D"}});
}

// Refusals and silences: a refusal is said and the next song served; a DAW silent past the
// timeout, or stopped on a question, is killed and comes back without that song, which is
// named until the next song is asked for; a missing session opens nothing.
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
    // Before any song the question is the DAW's own, for someone to answer there; once it has
    // a song and is quiet, its windows are not looked at.
    play({{"start", "'Starting Ardour…' | launch"},
          {"question Audio setup", ""},
          {"wait 2000", ""},
          {"question Audio setup", "'Ardour asks \"Audio setup\"'"},
          {"announce switch stage A", "record | 'Loading A…' | timer | open A"},
          {"reply open", "no timer | 'A loaded (0.0 s)' | record | loaded A in 0 | in DAW A"},
          {"question Save changes", ""},
          {"wait 5000", ""},
          {"question Save changes", ""}});
}

// A DAW that dies comes back with its song; three deaths within a minute and it waits for the
// next song, as does one that quits on its own. One ended by Gigmora is not a death.
TEST(SessionPlan, DeathsAndQuits) {
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
}

// Taken over from an earlier Gigmora, a DAW keeps playing what it has and says so; one with
// no song gets the stage's.
TEST(SessionPlan, ATakenOverDawPlaysOn) {
    play({{"took A stage B", "record | 'A loaded (Ardour kept playing)' | adopted A | in DAW A"}});
    play({{"took Placeholder stage B", "record | 'Loading B…' | timer | open B"},
          {"reply open", "no timer | 'B loaded (0.0 s)' | record | loaded B in 0 | in DAW B"}});
}

TEST(SessionPlan, TheStatusSaysTheSameInFields) {
    SessionPlan plan({"Ardour", "Ardour", "/s/Placeholder", false, 5000});
    plan.open("/s/A", true, 0);
    plan.announced(true, {}, false, 0);
    EXPECT_EQ(plan.status(), (DawStatus{DawStatus::Phase::Loading, "A"}));
    plan.timedOut(0);
    plan.exited(SessionPlan::Ending::Crashed, 0, {}, 0);
    plan.announced(true, {}, false, 0);
    plan.replied("/nsm/client/open", 0);
    EXPECT_EQ(plan.status(), (DawStatus{DawStatus::Phase::Ready, {},
                                        DawStatus::Reason::NoAnswer, 0, "A"}));
    plan.exited(SessionPlan::Ending::Quit, 3, {}, 0);
    EXPECT_EQ(plan.status(),
              (DawStatus{DawStatus::Phase::Stopped, {}, DawStatus::Reason::Quit, 3, "A"}));
}

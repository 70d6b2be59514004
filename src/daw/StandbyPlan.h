#pragma once

#include "daw/DawStatus.h"
#include "daw/StagePlan.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <array>
#include <vector>

// What two DAW instances and the audio router should do next, for song changes without a gap:
// the active instance is heard, the standby holds the next song loaded, and a recall of that
// song swaps them at once. Any other song is loaded into the standby while the current one
// keeps sounding and swapped in the moment it is heard; the instance left behind then loads
// the song after the new current one, once its spillover has rung out. A song an instance
// cannot load is passed over by the standby and refused once to a recall. While the standby is
// down, the active instance does everything, as one DAW does.
//
// Each event comes with the facts the driver reads off the instances and the router at that
// moment; the commands that come out are the driver's to carry out. Nothing here runs a timer
// or touches the JACK graph, so a test writes the facts down and reads the commands.
class StandbyPlan {
public:
    static constexpr int kInstances = 2;
    static constexpr int kSettleMs = 500;  // after a load
    static constexpr int kQuietMs = 300;   // after the last change of ports or connections
    static constexpr int kCutOffMs = 8000; // a loaded DAW without a port by then is cut off
    static constexpr int kFadePollMs = 20;

    struct Daw {
        bool up = false; // runs and has announced itself
        QString loaded, pending;
        bool placeholder = false; // what it has loaded is its placeholder
        bool hasPorts = true;     // on the JACK server
        DawStatus status;
        QString text;
    };
    struct Router {
        int target = 0;
        std::array<bool, kInstances> audible{}, listensTo{}, hasInput{};
    };
    struct Facts {
        std::array<Daw, kInstances> daws;
        Router router;
        qint64 now = 0;
    };
    struct Command {
        enum class Kind {
            OpenIn,         // `instance` opens `path`
            Route,          // connect the instance's outputs to the router (`listen`) or not
            SwapTo,         // the router hears `instance` from the next period on
            Arm,            // the next trigger swaps to `instance` by itself; -1: none
            StartAgain,     // end `instance` at once and have it back, not as a death
            Spillover,      // the instance left behind rings out for `ms`
            RewriteRecords, // which instance is heard changed
        };
        Kind kind;
        int instance = -1;
        QString path;
        bool listen = false;
        qint64 ms = 0;
        bool operator==(const Command&) const = default;
    };
    using Commands = std::vector<Command>;

    StandbyPlan(StagePlan stage, qint64 spilloverMs)
        : stage_(std::move(stage)), spilloverMs_(spilloverMs) {}

    // `routed`: the router runs; `secondHeard`: the second instance was the one heard before a
    // crash of Gigmora, and stays heard.
    Commands start(bool routed, bool secondHeard, const Facts& f);
    Commands open(const QString& path, const Facts& f); // the recall's song
    Commands loaded(int instance, const QString& path, const Facts& f);
    Commands cannotLoad(int instance, const QString& path, const QString& reason,
                        DawStatus::Reason why, const Facts& f);
    // Looked at every 100 ms: whether ports or connections changed on the server since.
    Commands look(bool graphChanged, const Facts& f);
    // Swaps to the song asked for once the standby has it loaded and heard: given the facts
    // after a look's routing, since JACK reports a connection before every view shows it.
    Commands swapIfReady(const Facts& f);
    Commands spilloverEnded(const Facts& f);
    void setStage(const StagePlan& stage) { stage_ = stage; }
    // Arms the trigger and works out what the stage says; call after every event.
    Commands refresh(const Facts& f);

    int active() const { return active_; }
    int standby() const { return 1 - active_; }
    bool routed() const { return routed_; }
    // The song an instance takes when it announces itself or comes back: the stage's for the
    // one heard, the next one for the standby.
    QString songFor(int instance, const Facts& f) const;
    // Whether opening `path` now swaps at once (the standby has it loaded and heard).
    bool swapsAtOnce(const QString& path, const Facts& f) const;
    QString text() const { return text_; }
    const DawStatus& status() const { return status_; }

private:
    bool standbyUp(const Facts& f) const { return routed_ && f.daws[size_t(standby())].up; }
    bool heard(int instance, const Facts& f) const;
    bool listened(int instance, const Facts& f) const;
    QString nextSong(const Facts& f) const;
    void swapWhenReady(const Facts& f);
    void swap(const Facts& f);
    void refuse(const QString& path);
    void openInStandby(const QString& path, const Facts& f);
    void route(int instance, const Facts& f) {
        out_.push_back({Command::Kind::Route, instance, {}, listened(instance, f)});
    }
    void add(Command::Kind kind, int instance = -1, const QString& path = {}, qint64 ms = 0) {
        out_.push_back({kind, instance, path, false, ms});
    }
    Commands take() { return std::exchange(out_, {}); }

    StagePlan stage_;
    qint64 spilloverMs_;
    Commands out_;
    bool routed_ = false;
    int active_ = 0;
    QString wanted_; // asked for, being loaded into the standby
    // Songs an instance could not load, and why: skipped by the standby, and a recall of one
    // is refused with the reason (a later recall tries again).
    QHash<QString, QString> refused_;
    QHash<QString, DawStatus::Reason> refusedWhy_;
    QSet<QString> said_; // refusals said to a recall
    QString notice_;     // the last refusal, said until the next song
    QString noticeSong_;
    bool spillover_ = false;
    std::array<qint64, kInstances> loadedAt_{-1, -1}; // -1: not loaded and settled
    qint64 quietSince_ = 0;
    QString text_;
    DawStatus status_;
};

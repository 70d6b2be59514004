#pragma once

#include "daw/DawStatus.h"

#include <QString>
#include <deque>
#include <vector>

// What one DAW under Gigmora's session manager should do next, worked out from what happened:
// events go in (a song asked for, the DAW announced, answered, failed, timed out, stopped on a
// question, exited), and commands come out for the driver to carry out. Nothing here starts a
// process, sends a message, reads a file or runs a timer, so a test writes the events down and
// reads the commands. Times are milliseconds on one clock, given with each event.
//
// The rules: only the latest song asked for waits while a load runs; a DAW that cannot switch
// is started again with the new session; a DAW that dies comes back with its song (not after
// three deaths within a minute, until the next song is asked for); one that quits on its own
// waits for the next song; a load stuck on a question or unanswered is given up, the DAW
// ended at once, and the song not opened again until it is asked for.
class SessionPlan {
public:
    struct Settings {
        QString name;        // how the DAW is called on stage ("Ardour", "Ardour B")
        QString programName; // after its program, for what both instances share ("Ardour")
        QString placeholder; // opened when there is no song; empty: none
        bool saveBeforeSwitch = false;
        int loadTimeoutMs = 60000;
        bool canLaunch = true; // there is a program to start
        // The program answers an open it could not carry out with an error; one that never
        // does (ZynAddSubFX keeps the last patch) has each load assumed, and says so.
        bool reportsFailures = true;
    };
    struct Command {
        enum class Kind {
            Launch,       // start the DAW (or take over the one left running)
            Restart,      // end it gently and start it again
            Kill,         // end it at once (SIGKILL); it comes back by its exit
            SendOpen,     // ask it to open `path`
            SendSave,     // ask it to save
            StartTimeout, // the load timeout, from now
            StopTimeout,
            WriteRecord, // write down what the DAW does, for the next Gigmora
            Loaded,      // `path` loaded in `ms`
            SongInDaw,   // the DAW has `path` without a recall having asked for it
            Adopted,     // the DAW taken over plays `path`
            CannotLoad,  // `path` cannot be loaded, because of `text`
            Status,      // the state changed: `text`, and `status()`
        };
        Kind kind;
        QString path;
        QString text;
        qint64 ms = 0;
        bool operator==(const Command&) const = default;
    };
    using Commands = std::vector<Command>;

    static constexpr int kDeathsBeforeGivingUp = 3;
    static constexpr int kDeathWindowMs = 60000;
    static constexpr int kDialogMs = 2000; // a question shown this long stops the load
    enum class Ending { Crashed, Quit, Vanished };

    explicit SessionPlan(Settings settings) : settings_(std::move(settings)) {}

    // Events. `stageSong` is the song the DAW should have when it has none: the stage's, or
    // for a standby the next one (a session folder, else empty).
    Commands start(qint64 now);
    Commands open(const QString& path, bool isSession, qint64 now);
    Commands tookOver(const QString& loaded, bool canSwitch, const QString& stageSong, qint64 now);
    Commands announced(bool canSwitch, const QString& stageSong, bool standby, qint64 now);
    Commands replied(const QString& what, qint64 now); // "/nsm/client/open" or "…/save"
    Commands failed(const QString& what, int code, const QString& message, qint64 now);
    Commands timedOut(qint64 now);
    // The question the DAW shows now (empty: none), looked at now and then.
    Commands question(const QString& question, qint64 now);
    Commands exited(Ending ending, int status, const QString& lastLine, qint64 now);
    Commands notStarted(DawStatus::Reason reason);
    Commands endingOld();
    // Ended at once and started again, not as a death (cut off from the audio server).
    Commands startAgain();
    Commands quit();

    bool isUp() const { return process_ && up_; }
    // Whether a question now would hold up a load or the DAW's start.
    bool waitsForDaw() const { return !loading_.isEmpty() || !up_; }
    QString loaded() const { return loaded_; }
    QString pending() const { return loading_.isEmpty() ? waiting_ : loading_; }
    bool placeholderLoaded() const {
        return !loaded_.isEmpty() && loaded_ == settings_.placeholder;
    }
    QString text() const { return text_; }
    const DawStatus& status() const { return status_; }
    static QString songName(const QString& path);

private:
    QString songToOpen(const QString& stageSong) const;
    void serve(const QString& path, qint64 now);
    void launch();
    void next(qint64 now);
    void giveUp(const QString& reason, DawStatus::Reason why, qint64 now);
    void setLoaded(qint64 ms);
    void say(const QString& text, DawStatus::Phase phase, const QString& song = {},
             DawStatus::Reason reason = DawStatus::Reason::None, int code = 0);
    void add(Command::Kind kind, const QString& path = {}, const QString& text = {},
             qint64 ms = 0) {
        out_.push_back({kind, path, text, ms});
    }
    Commands take() { return std::exchange(out_, {}); }

    Settings settings_;
    Commands out_;
    bool process_ = false;
    bool up_ = false; // announced
    bool canSwitch_ = false;
    QString loading_, waiting_, loaded_;
    QString clockFor_; // the song the clock times, from its request to its load
    qint64 clockStart_ = 0;
    std::deque<qint64> deaths_;
    bool givenUp_ = false, quitting_ = false, saving_ = false;
    bool fromStage_ = false; // the load running was chosen at the DAW's announce
    bool endedByUs_ = false; // ended by Gigmora, to come back at once
    QString question_;
    qint64 questionSince_ = 0;
    QString stuck_;  // the song it could not load; not opened again until asked for
    QString notice_; // why, said before the state until the next song is asked for
    DawStatus::Reason noticeReason_ = DawStatus::Reason::None;
    QString text_;
    DawStatus status_;
};

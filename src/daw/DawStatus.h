#pragma once

#include <QString>

// What the DAW is doing, as fields a program reads (the stage's sentence says the same in
// words): its phase, the song, and why it is not where it was asked to be.
struct DawStatus {
    enum class Phase { Off, Starting, Ready, Loading, Loaded, Asking, Stopped, Failed };
    enum class Reason {
        None,
        NoSession,     // no session folder where the song points
        CannotListen,  // the session manager has no port
        CannotStart,   // the program did not start
        Refused,       // the DAW answered with an error (`code`)
        NoAnswer,      // no answer within the load timeout
        Dialog,        // it stopped on a question
        Quit,          // it quit on its own (status in `code`)
        KeepsStopping, // it died too often to be started again before the next song
        EndingOld,     // one left running by an earlier Gigmora is being ended
    };
    Phase phase = Phase::Off;
    QString song; // the session's name, of the song it has or loads
    Reason reason = Reason::None;
    int code = 0;
    QString refused; // a song it could not load, said until the next one is asked for
    // With a standby: what the other instance does with the next song.
    Phase standby = Phase::Off;
    QString next;

    static QString name(Phase phase);
    static QString name(Reason reason);
    bool operator==(const DawStatus&) const = default;
};

#pragma once

#include "daw/DawDialogs.h"
#include "daw/DawProcess.h"
#include "daw/NsmServer.h"
#include "daw/SessionPlan.h"
#include "library/ProjectKind.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <functional>
#include <memory>

class CompanionPrograms;
struct DawRecord;

// Runs one DAW as Gigmora's session-manager client, as SessionPlan decides: it starts the
// DAW with NSM_URL, watches its process and its dialogs, speaks the protocol and keeps the
// timers, and hands each of these happenings to the plan. The DAW it runs is written down
// under the runtime folder, so that a Gigmora started after a crash takes it over, still
// playing, instead of starting a second one; a clean quit ends it and leaves nothing behind.
class SessionManager : public QObject {
    Q_OBJECT
public:
    struct Options {
        QStringList program; // the DAW and its arguments
        bool saveBeforeSwitch = false;
        int loadTimeoutMs = 60000;
        // The DAW's id: DAWs such as Ardour name their JACK client after it, so it stays the
        // same from song to song.
        QString clientId = QStringLiteral("Gigmora DAW");
        // How the DAW is called on stage; empty: after its program ("Ardour").
        QString name;
        // Opened when the stage has no song (the DAW makes it the first time); empty: none.
        QString placeholder;
        // Where the running DAW is written down for the next Gigmora; empty: nowhere.
        QString runtimeFolder;
        // The session folder of the song the stage is on; empty when it has none.
        std::function<QString()> stageSong;
        // Whether the DAW stands by for the next song: back from a death, it takes the song
        // `stageSong` gives (the next one), not the one it had. Unset: never.
        std::function<bool()> standby;
        // Added to the DAW's environment ("NAME=value").
        QStringList environment;
        // Whether the audience hears this DAW (written down for the next Gigmora); unset: yes.
        std::function<bool()> heard;
        // What the program takes for a song (paths given to `open` are its session paths).
        ProjectKind songs{ProjectKind::Kind::SessionFolder};
    };
    static constexpr int kDeathsBeforeGivingUp = SessionPlan::kDeathsBeforeGivingUp;
    static constexpr int kEndGraceMs = 10000;
    static constexpr int kDialogPollMs = 1000;
    static constexpr int kLivenessMs = 1000; // how often the DAW's client is looked for

    explicit SessionManager(Options options, QObject* parent = nullptr);
    ~SessionManager() override;

    // Starts the DAW now, or takes over the one an earlier Gigmora left running (it also
    // starts when the first song is asked for).
    void start();
    // Puts the session folder `path` in front of the DAW.
    void open(const QString& path);
    // Ends the DAW at once and starts it again, not as a death (one that the JACK server has
    // shut out); it comes back with its song.
    void startAgain();
    // Ends the DAW: SIGTERM, then SIGKILL after `graceMs`.
    void shutdown(int graceMs = kEndGraceMs);
    // The same without waiting: `ended` follows once it has gone.
    void end(int graceMs = kEndGraceMs);

    QString stateText() const;
    // Loading until every program of a song folder has the song.
    DawStatus status() const;
    QString dawName() const; // "Ardour", or the name it was given
    const QString& clientId() const { return options_.clientId; }
    // Its own client id and those of the other programs of its song folders.
    QStringList clientIds() const;
    static QString nameOf(const QStringList& program); // "Ardour" for "/usr/bin/ardour7"
    // The song the DAW has, once every program of a song folder has it.
    QString loadedPath() const;
    // The session being opened, else the one waiting to be; empty when neither.
    QString pendingPath() const;
    const ProjectKind& songsKind() const { return options_.songs; }
    // The other programs of the song folders it opens; null until it opens one.
    const CompanionPrograms* companions() const { return companions_.get(); }
    // The DAW runs and has announced itself.
    bool isUp() const { return process_ && plan_.isUp(); }
    bool placeholderLoaded() const { return plan_.placeholderLoaded(); }
    qint64 dawProcessId() const;
    const NsmServer& server() const { return nsm_; }
    QString recordFile() const;
    // Writes down again what the DAW does, after a change that only its owner sees.
    void rewriteRecord() { writeRecord(); }
    // Whether the DAW that `recordFile` names still runs and was the one heard.
    static bool recordedHeard(const QString& recordFile);
    QString outputFile() const;
    static QString recordFileIn(const QString& runtimeFolder, const QString& clientId);
    // Ends the DAW that `recordFile` names, left running by an earlier Gigmora (SIGTERM, then
    // SIGKILL), and removes the record once it is gone; that process, or null when none runs.
    // A configuration home of its own for a DAW beside the musician's (under Gigmora's), and
    // its first contents: a copy of the musician's configuration of that DAW (the folders
    // named after its program, "ardour7" for Ardour), made once; then it keeps its own.
    static QString configHomeFor(const QString& clientId);
    static void seedConfigHome(const QStringList& program, const QString& home);
    static DawProcess* endRecordedDaw(const QString& recordFile, const QString& name,
                                      QObject* owner);

signals:
    void stateChanged(const QString& text);
    void loaded(const QString& path, qint64 milliseconds);
    // The DAW has this song without a recall having asked for it: taken over from an earlier
    // Gigmora, or opened when it announced itself.
    void songInDaw(const QString& path);
    // The DAW taken over from an earlier Gigmora plays this song.
    void adopted(const QString& path);
    // The DAW stopped on a question while loading `path`, or never answered (`reason`:
    // `Ardour asks "…"`); it is ended and comes back without that song until it is asked for
    // again.
    void cannotLoad(const QString& path, const QString& reason);
    // The DAW that `end` ended has gone.
    void ended();

private:
    // Carries out what the plan says.
    void run(const SessionPlan::Commands& commands);
    qint64 now() const { return clock_.elapsed(); }
    void said(const Result<>& sent) const;
    // The stage's song when it is a session folder, else empty.
    QString stageSong() const;
    // Starts the DAW, or takes over the one an earlier Gigmora left running.
    void startProcess();
    bool takeOverRecorded();
    void endRecorded();
    void launch();
    void watch(DawProcess* process);
    void restart();
    void kill();
    void lookForDialogs();
    // A DAW whose client has gone while its process lives on is ended, as a crash.
    void checkClient();
    void exited(DawProcess::Ending ending, int status, const QString& lastLine);
    void writeRecord();
    // Puts `song` in front of the programs of song folders beside the DAW's own.
    void others(const QString& song);
    // Whether programs of `song` beside the DAW's own have yet to load it.
    bool othersLoading(const QString& song) const;
    // What the DAW's own program opens for `song`: its part of a song folder.
    QString ownPart(const QString& song) const;
    // Whether that is there to open.
    bool partThere(const QString& song) const;

    Options options_;
    SessionPlan plan_;
    NsmServer nsm_;
    DawProcess* process_ = nullptr;  // a child of this object
    DawProcess* leftover_ = nullptr; // one left by an earlier Gigmora, being ended
    QTimer timeout_;
    QElapsedTimer clock_;
    DawDialogs dialogs_;
    QTimer dialogPoll_;
    QTimer liveness_;
    int absent_ = 0;      // looks in a row that found the DAW's client gone
    bool ending_ = false; // `end` was asked for
    std::unique_ptr<CompanionPrograms> companions_;
    struct Held {
        QString path;
        qint64 ms = 0;
    } held_; // the DAW's own load, said once the other programs have the song too
};

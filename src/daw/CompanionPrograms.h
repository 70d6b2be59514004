#pragma once

#include <QObject>
#include <QStringList>
#include <functional>
#include <map>
#include <memory>
#include <set>

class SessionManager;

// The programs a song folder lists beside the session manager's own (a synth beside Ardour,
// say). Each is started once, under a client id of its own that holds all night (its JACK
// name with it), and is switched to the song's data for it; a program the song does not list
// is ended. Nothing is saved on a switch.
class CompanionPrograms : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString ownExecutable; // the session manager's own program: not started here
        QString clientId;      // the session manager's ("Gigmora DAW")
        QString nameSuffix;    // after each program's name on stage (" B")
        QString runtimeFolder;
        QStringList environment;
        int loadTimeoutMs = 60000;
        std::function<bool()> heard, standby;
    };
    explicit CompanionPrograms(Options options, QObject* parent = nullptr);
    ~CompanionPrograms() override;

    // Puts `song` in front of the programs; a song that is no song folder lists none.
    void open(const QString& song);
    QString song() const { return song_; }
    // Whether a program of `song` has yet to load it.
    bool waiting(const QString& song) const;
    // What the programs do, for the stage ("ZynAddSubFX loading"); empty when all are done.
    QString text() const;
    // The session manager's own program's data for `song`; empty when the song lists it not.
    QString ownData(const QString& song) const;
    // The id a program runs under: "Gigmora ZynAddSubFX" beside "Gigmora DAW". Never one that
    // begins with the other's: Ardour takes such ports for its own.
    static QString clientIdFor(const QString& clientId, const QString& program);
    // Where the programs beside the DAW `clientId` are written down (under the DAW's own
    // runtime folder); empty with none.
    static QString runtimeFolderOf(const QString& runtimeFolder, const QString& clientId);
    // Ends the programs written down there: left by a Gigmora that crashed, they would hold
    // their JACK names and the audio with nobody to drive them.
    static void endRecorded(const QString& folder, const QStringList& except, QObject* owner);
    // The same program beside the DAW `toDaw` as `program` is beside `fromDaw`.
    static QString twinOf(const QString& program, const QString& fromDaw, const QString& toDaw);
    QStringList clientIds() const;
    // The process of the program started as `executable`; 0 when none runs.
    qint64 processOf(const QString& executable) const;
    void end(int graceMs);
    void shutdown(int graceMs);

signals:
    // Every program of `song` has it.
    void loaded(const QString& song);
    void cannotLoad(const QString& song, const QString& reason);
    void stateChanged();

private:
    SessionManager& programFor(const QString& executable);
    QString nameFor(const QString& executable, const QStringList& command) const;
    // Whether the program started as `executable` has yet to load its part of the song.
    bool lacks(const QString& executable) const;
    void settle();

    Options options_;
    QString song_;
    QString ownData_;                                             // the DAW's own part of it
    std::map<QString, std::unique_ptr<SessionManager>> programs_; // by executable
    std::map<QString, QString> data_; // each program's data for the song, by executable
    bool namesNone_ = false;          // the song is a folder whose list names no program
    bool swept_ = false;              // the ones left by an earlier Gigmora are seen to
    std::set<QString> gaveUp_;        // programs that could not load their part of the song
    QStringList twice_;               // parts not loaded: their program is listed before
};

#pragma once

#include "daw/NsmServer.h"

#include <QElapsedTimer>
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTimer>
#include <deque>
#include <memory>

// Runs one DAW as Gigmora's session-manager client and puts the next song's session in front
// of it: it starts the DAW with NSM_URL, opens sessions in the same process when the DAW can
// switch (or starts it again with the new session when it cannot), keeps only the latest
// song asked for while a load runs, notices at once when the DAW dies and brings it back with
// its song (not after three deaths within a minute, until the next song is asked for), and
// ends it when Gigmora quits. It says where it is in words a musician reads on stage.
class SessionManager : public QObject {
    Q_OBJECT
public:
    struct Options {
        QStringList program; // the DAW and its arguments
        bool saveBeforeSwitch = false;
        int loadTimeoutMs = 60000;
    };
    static constexpr int kDeathsBeforeGivingUp = 3;
    static constexpr int kDeathWindowMs = 60000;

    explicit SessionManager(Options options, QObject* parent = nullptr);
    ~SessionManager() override;

    // Starts the DAW now (it also starts when the first song is asked for).
    void start();
    // Puts the session folder `path` in front of the DAW.
    void open(const QString& path);
    // Ends the DAW: SIGTERM, then SIGKILL after `graceMs`.
    void shutdown(int graceMs = 10000);

    QString stateText() const { return state_; }
    QString loadedPath() const { return loaded_; }
    qint64 dawProcessId() const;
    const NsmServer& server() const { return nsm_; }

signals:
    void stateChanged(const QString& text);
    void loaded(const QString& path, qint64 milliseconds);

private:
    void launch();
    void announced();
    // Begins to put `path` in front of the DAW: a restart, a save or straight away the open.
    void serve(const QString& path);
    void openLoading();
    void restart();
    void replied(const QString& path, const QString& message);
    void failed(const QString& path, int code, const QString& message);
    void timedOut();
    void died();
    void next(); // the song that waited, if any
    void setState(const QString& text);
    QString dawName() const;
    static QString songName(const QString& path);

    Options options_;
    NsmServer nsm_;
    std::unique_ptr<QProcess> process_;
    QTimer timeout_;
    QElapsedTimer clock_;
    QString loading_;  // the session being opened now
    QString waiting_;  // the latest one asked for meanwhile
    QString loaded_;   // the session the DAW has open
    QString clockFor_; // the song the clock times, from its request to its load
    QString state_;
    std::deque<qint64> deaths_; // when the DAW died, within the last minute
    bool givenUp_ = false;
    bool quitting_ = false;
    bool saving_ = false;
};

#pragma once

#include "daw/SessionManager.h"
#include "daw/SetlistCheck.h"
#include "settings/GigmoraConfig.h"

#include <QList>
#include <QObject>
#include <QTimer>
#include <memory>
#include <optional>

// Loads each song of a set in a DAW of its own, one after the other, as the stage would: it
// times each load and names a song that stops the DAW on a question, ends it, or is refused.
// The DAW is never the one the audience hears: its outputs are connected to nothing. It is ended
// when the pass is over.
class LivePass : public QObject {
    Q_OBJECT
public:
    struct Song {
        QString title;
        QString folder;                // the session folder; empty when there is none
        std::optional<double> seconds; // how long it plays, when known
    };
    struct Load {
        qint64 ms = -1;  // how long the load took; -1 when it did not load
        QString problem; // why it did not load
    };
    static constexpr int kSettleMs = 30000;  // beyond the load timeout, before giving up
    static constexpr int kEndGraceMs = 5000; // for the DAW to quit when asked, before a kill
    // A DAW registers its ports again a while after it answers a load.
    static constexpr int kSettleOutputsMs = 1500;

    // `daw`: how the stage's DAW is started; its id, name and records are the pass's own.
    LivePass(SessionManager::Options daw, QList<Song> songs, QObject* parent = nullptr);
    // The songs of a checked setlist, with the stage's DAW as `settings` start it.
    LivePass(const GigmoraConfig::Daw& settings, const SetlistCheck::Result& checked,
             QObject* parent = nullptr);
    ~LivePass() override;

    void start();
    bool isOver() const { return over_; }
    // Ends the pass at once, without waiting for its DAW: the pass lives on, owned by the
    // application, until its DAW has gone, and then deletes itself.
    void abandon();
    const QList<Song>& songs() const { return songs_; }
    const QList<Load>& loads() const { return loads_; }
    bool allLoaded() const;
    // "loaded in 2.4 s", or "did not load: " and why.
    QString verdict(qsizetype song) const;
    // The slowest load, and whether a standby would have each song ready while the one
    // before it plays; a line each.
    QStringList summary() const;

signals:
    void progress(int done, int total);
    void finished();

private:
    void next();
    // `restarts`: the DAW was ended on it and comes back first.
    void done(const Load& load, bool restarts);
    // Ends the pass; the songs not yet loaded get `why`.
    void finish(const QString& why);
    void watchStatus();

    SessionManager::Options options_;
    QList<Song> songs_;
    QList<Load> loads_;
    std::unique_ptr<SessionManager> daw_;
    QTimer limit_;
    bool up_ = false;
    bool over_ = false;
    bool dawGone_ = false; // ended, after the pass
};

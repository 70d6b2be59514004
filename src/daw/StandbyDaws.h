#pragma once

#include "audio/AudioRouter.h"
#include "daw/SessionManager.h"
#include "daw/StagePlan.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <array>
#include <functional>
#include <memory>

// Two DAW instances and Gigmora's audio router, for song changes without a gap: the active
// instance is heard, the standby holds the next song loaded, and a recall of that song swaps
// them inside one JACK period, with no DAW delay. Any other song is loaded into the standby
// while the current one keeps sounding, and swapped in the moment it is loaded. The instance
// left behind then loads the song after the new current one (once its spillover has rung
// out). Without the router, or while the standby is down, one DAW does everything as it
// always has.
class StandbyDaws : public QObject {
    Q_OBJECT
public:
    static constexpr int kInstances = 2;
    struct Options {
        // As for one DAW; the ids, names, placeholders and songs are made per instance.
        SessionManager::Options daw;
        AudioRouter::Options router;
        QString mainOutputs = QStringLiteral("Master/audio_out");
        StagePlan plan; // the stage's, in session folders
    };
    static QString clientId(int instance); // "Gigmora DAW", "Gigmora Second DAW"
    // Where the instance's DAW keeps its configuration; empty: the musician's own.
    static QString configHome(int instance);

    explicit StandbyDaws(Options options, QObject* parent = nullptr);
    ~StandbyDaws() override;

    void start();
    // Where the stage is now: the standby follows it.
    void setPlan(const StagePlan& plan);
    // The recall's song.
    void open(const QString& path);
    // Whether `open(path)` would swap at once (the standby has it loaded).
    bool swapsAtOnce(const QString& path) const;
    void shutdown();

    QString stateText() const { return state_; }
    const DawStatus& status() const { return status_; }
    int active() const { return active_; }
    bool routed() const { return routed_; }
    SessionManager* instance(int i) const { return daws_[size_t(i)].get(); }
    const AudioRouter& router() const { return router_; }

signals:
    void stateChanged(const QString& text);
    void songInDaw(const QString& path);
    void adopted(const QString& path);

private:
    int standby() const { return 1 - active_; }
    bool standbyUp() const;
    // The instance's song reaches the router and will go on reaching it.
    bool heard(int instance) const;
    void loadedIn(int instance, const QString& path);
    void cannotLoad(int instance, const QString& path, const QString& reason);
    // Says why `path` is not played; the next recall of it tries again.
    void refuse(const QString& path);
    // Whether the router should listen to the instance: the one heard, the one ringing out,
    // and a standby that has settled with its song. The router waits for every instance it
    // listens to in each period, so one that loads must not be among them.
    bool listened(int instance) const;
    // Connects the instance's main outputs to the router, or to nothing while it is not
    // listened to; false for one showing none.
    bool route(int instance);
    void swap();
    // Ends an instance that shows no port long after its load, to have it back.
    void restartIfCutOff(int instance);
    // Swaps to the song asked for once the standby has it loaded and heard by the router.
    void swapIfReady();
    // The song the standby should hold: the one asked for, else the one after the current.
    QString nextSong() const;
    QString stageSongNow() const;
    // The song the standby should open now; empty: none (the active one has it).
    QString standbySong() const;
    void prepareStandby();
    void openInStandby(const QString& path);
    void updateState();
    // Arms the router to swap by itself on the next trigger when the standby is ready for it.
    void rearm();

    Options options_;
    AudioRouter router_;
    std::array<std::unique_ptr<SessionManager>, kInstances> daws_;
    bool routed_ = false;
    int active_ = 0;
    QString wanted_; // asked for, being loaded into the standby
    // Songs a DAW could not load, and why: skipped by the standby, and a recall of one is
    // refused with the reason (a later recall tries again).
    QHash<QString, QString> refused_;
    QSet<QString> said_; // refusals said to a recall
    QHash<QString, DawStatus::Reason> refusedWhy_;
    QString notice_;     // the last refusal, said until the next song
    QString noticeSong_;
    QString state_;
    DawStatus status_;
    QTimer spillover_; // the instance left behind loads only once it is silent
    QTimer graph_;     // looks whether the DAWs' ports changed, to route them again
    static constexpr int kSettleMs = 500;  // after a load
    static constexpr int kQuietMs = 300;   // after the last change of ports or connections
    static constexpr int kCutOffMs = 8000; // a loaded DAW without a port by then is cut off
    static constexpr int kFadePollMs = 20;
    std::array<QElapsedTimer, kInstances> loadedAt_;
    QElapsedTimer quiet_;
};

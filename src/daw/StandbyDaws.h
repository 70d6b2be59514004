#pragma once

#include "audio/AudioRouter.h"
#include "daw/SessionManager.h"
#include "daw/StagePlan.h"
#include "daw/StandbyPlan.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <array>
#include <memory>

// Two DAW instances and Gigmora's audio router, for song changes without a gap, as
// StandbyPlan decides: this carries its commands out on the instances' session managers and
// the router, and hands it what they do.
class StandbyDaws : public QObject {
    Q_OBJECT
public:
    static constexpr int kInstances = StandbyPlan::kInstances;
    struct Options {
        // As for one DAW; the ids, names, placeholders and songs are made per instance.
        SessionManager::Options daw;
        AudioRouter::Options router;
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
    bool swapsAtOnce(const QString& path) const { return plan_.swapsAtOnce(path, facts()); }
    void shutdown();

    QString stateText() const { return plan_.text(); }
    const DawStatus& status() const { return plan_.status(); }
    int active() const { return plan_.active(); }
    bool routed() const { return plan_.routed(); }
    SessionManager* instance(int i) const { return daws_[size_t(i)].get(); }
    const AudioRouter& router() const { return router_; }

signals:
    void stateChanged(const QString& text);
    void songInDaw(const QString& path);
    void adopted(const QString& path);

private:
    StandbyPlan::Facts facts() const;
    // Carries out the event's commands, then what the stage says.
    void handle(const StandbyPlan::Commands& commands);
    void run(const StandbyPlan::Commands& commands);
    // Keeps the other programs of the instance's song to the instance (see AudioRouter::confine).
    void confine(int instance);

    Options options_;
    StandbyPlan plan_;
    AudioRouter router_;
    std::array<std::unique_ptr<SessionManager>, kInstances> daws_;
    QTimer spillover_; // the instance left behind loads only once it is silent
    QTimer graph_;     // looks whether the DAWs' ports changed, to route them again
    QElapsedTimer clock_;
    QString said_;
    DawStatus saidStatus_;
};

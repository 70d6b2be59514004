#pragma once

#include "daw/DawStatus.h"
#include "daw/StagePlan.h"
#include "library/ProjectKind.h"
#include "settings/GigmoraConfig.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <memory>

class DawPortKeeper;
class SessionManager;
class StandbyDaws;

// How the DAW is told to change songs, as Gigmora.conf says: the default way (the close
// command, then the "Logic Pro X" opening, which song recall does itself), or as the session
// manager of a DAW that Gigmora starts and keeps. It also sets what counts as a song's project.
class DawControl : public QObject {
    Q_OBJECT
public:
    explicit DawControl(QObject* parent = nullptr);
    ~DawControl() override;

    // Where the stage is: its song is opened whenever the DAW announces itself, and a standby
    // DAW holds the one after it ready.
    void setPlan(const StagePlan& plan);
    // Where the DAW's placeholder session and its record for the next Gigmora live.
    static QString placeholderPath();
    static QString runtimeFolder();

    // Takes these settings: the session manager starts its DAW now, or ends it.
    void apply(const GigmoraConfig::Daw& settings);
    bool managesSessions() const { return manager_ != nullptr || standby_ != nullptr; }
    // What counts as a song's project under this control.
    const ProjectKind& projectKind() const { return projectKind_; }
    // Puts the session in front of the DAW; false without a session manager.
    bool openSession(const QString& song);
    // The session is loaded in a standby DAW and opening it swaps at once: no DAW delay.
    bool swapsAtOnce(const QString& song) const;
    // Ends the DAW Gigmora started (on quit, after the library is saved).
    void shutdown();
    QString stateText() const;
    DawStatus status() const;
    // The one DAW's manager, or the active instance's with a standby.
    SessionManager* sessionManager() const;
    StandbyDaws* standbyDaws() const { return standby_.get(); }

signals:
    // What the DAW is doing, in words for the stage; empty with the default control.
    void stateChanged(const QString& text);
    // The DAW has this song without a recall having asked for it (see SessionManager).
    void songInDaw(const QString& path);
    // The DAW taken over from an earlier Gigmora plays this song: the stage is there.
    void adopted(const QString& path);

private:
    // One DAW the JACK server has shut out answers the session manager but is silent for
    // good: it is started again with its song, as a standby's instance is.
    void lookForShutOut();
    static constexpr int kShutOutLooks = 3; // a second apart

    GigmoraConfig::Daw settings_;
    ProjectKind projectKind_;
    StagePlan plan_;     // as given
    StagePlan sessions_; // in this control's projects
    std::unique_ptr<SessionManager> manager_;
    std::unique_ptr<StandbyDaws> standby_;
    std::unique_ptr<DawPortKeeper> ports_;
    QTimer shutOut_;
    qint64 watched_ = 0;      // the DAW process looked at
    bool hadPorts_ = false;   // it has been seen with ports
    int misses_ = 0;          // looks in a row that found none
    QString loadedSong_;      // what it has, settled
    QElapsedTimer loadedFor_; // since it has had it
};

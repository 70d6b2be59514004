#pragma once

#include "library/ProjectKind.h"
#include "settings/GigmoraConfig.h"

#include <QObject>
#include <functional>
#include <memory>

class SessionManager;

// How the DAW is told to change songs, as Gigmora.conf says: the default way (the close
// command, then the "Logic Pro X" opening, which song recall does itself), or as the session
// manager of a DAW that Gigmora starts and keeps. It also sets what counts as a song's project.
class DawControl : public QObject {
    Q_OBJECT
public:
    explicit DawControl(QObject* parent = nullptr);
    ~DawControl() override;

    // The session folder of the song the stage is on (empty for none), opened whenever the
    // DAW announces itself. Set before the first `apply`.
    void setStageSong(std::function<QString()> stageSong) { stageSong_ = std::move(stageSong); }
    // Where the DAW's placeholder session and its record for the next Gigmora live.
    static QString placeholderPath();
    static QString runtimeFolder();

    // Takes these settings: the session manager starts its DAW now, or ends it.
    void apply(const GigmoraConfig::Daw& settings);
    bool managesSessions() const { return manager_ != nullptr; }
    // What counts as a song's project under this control.
    const ProjectKind& projectKind() const { return projectKind_; }
    // Puts the session in front of the DAW; false without a session manager.
    bool openSession(const QString& path);
    // Ends the DAW Gigmora started (on quit, after the library is saved).
    void shutdown();
    QString stateText() const;
    SessionManager* sessionManager() const { return manager_.get(); }

signals:
    // What the DAW is doing, in words for the stage; empty with the default control.
    void stateChanged(const QString& text);
    // The DAW has this song without a recall having asked for it (see SessionManager).
    void songInDaw(const QString& path);

private:
    GigmoraConfig::Daw settings_;
    ProjectKind projectKind_;
    std::function<QString()> stageSong_;
    std::unique_ptr<SessionManager> manager_;
};

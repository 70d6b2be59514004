#pragma once

#include <QObject>
#include <QString>
#include <functional>

class OscRemote;
class StageRequests;
class StageState;
class WebRemote;

// The remotes of the stage, each on when Gigmora.conf asks for it: the OSC control surface and
// the web remote. Both ask the stage to move through the same requests as the Perform view and
// show the stage's published snapshot.
class StageRemotes : public QObject {
    Q_OBJECT
public:
    struct Dependencies {
        StageState* stage = nullptr;
        StageRequests* requests = nullptr;
    };
    explicit StageRemotes(const Dependencies& dependencies, QObject* parent = nullptr);
    ~StageRemotes() override;

    // At launch: whichever remotes Gigmora.conf turns on.
    void start();
    // The web remote's settings, taken again (at launch and when the preferences change them).
    void applyWebSettings();
    void publish();

    OscRemote* oscRemote() const { return osc_; }
    WebRemote* webRemote() const { return web_; }
    // Why the web remote that Gigmora.conf turns on does not listen; empty when it does.
    QString webProblem() const { return webProblem_; }

signals:
    // The web remote started (with the port it has) or stopped (0).
    void webRemoteChanged(int port);

private:
    void startOsc();

    Dependencies d_;
    OscRemote* osc_ = nullptr;
    WebRemote* web_ = nullptr;
    QString webProblem_;
};

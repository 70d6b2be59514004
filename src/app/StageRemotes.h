#pragma once

#include <QObject>
#include <QString>
#include <functional>

class ArrayController;
class DawControl;
class LibraryFilter;
class OscRemote;
class PerformanceView;
class SongRecall;
class WebRemote;
struct StageSnapshot;

// The remotes of the stage, each on when Gigmora.conf asks for it: the OSC control surface and
// the web remote. Both run the recall a MIDI trigger runs and are told of every change.
class StageRemotes : public QObject {
    Q_OBJECT
public:
    struct Dependencies {
        SongRecall* recall = nullptr;
        LibraryFilter* filter = nullptr;
        ArrayController* allSetlists = nullptr;
        ArrayController* currentSetlist = nullptr;
        DawControl* daw = nullptr;
        PerformanceView* stage = nullptr;
    };
    explicit StageRemotes(const Dependencies& dependencies, QObject* parent = nullptr);
    ~StageRemotes() override;

    // At launch: whichever remotes Gigmora.conf turns on.
    void start();
    // The web remote's settings, taken again (at launch and when the preferences change them).
    void applyWebSettings();
    void publish();
    // publish() once, after the current event.
    void schedulePublish();

    OscRemote* oscRemote() const { return osc_; }
    WebRemote* webRemote() const { return web_; }
    // Why the web remote that Gigmora.conf turns on does not listen; empty when it does.
    QString webProblem() const { return webProblem_; }

signals:
    // The web remote started (with the port it has) or stopped (0).
    void webRemoteChanged(int port);

private:
    void startOsc();
    StageSnapshot snapshot() const;
    void recallRow(int row);

    Dependencies d_;
    OscRemote* osc_ = nullptr;
    WebRemote* web_ = nullptr;
    QString webProblem_;
    bool publishPending_ = false; // a child, replaced whole when its settings change
};

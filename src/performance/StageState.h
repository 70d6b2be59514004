#pragma once

#include "daw/SongLengths.h"
#include "performance/StageSnapshot.h"

#include <QObject>
#include <QPointer>

class ArrayController;
class DawControl;
class LibraryFilter;
class StagePosition;

// Where the set is, worked out in one place and published as one value: the Perform view's
// lines, the web remote and the OSC surface all show this snapshot. It is published once per
// step, after the step has settled (a trigger's close command has long gone out by then), and
// only when something a person would see has changed.
class StageState : public QObject {
    Q_OBJECT
public:
    struct Dependencies {
        LibraryFilter* filter = nullptr;
        ArrayController* allSetlists = nullptr;
        ArrayController* currentSetlist = nullptr;
        StagePosition* position = nullptr;
        DawControl* daw = nullptr;
    };
    explicit StageState(const Dependencies& dependencies, QObject* parent = nullptr);

    const StageSnapshot& snapshot() const { return snapshot_; }

signals:
    void changed(const StageSnapshot& snapshot);

private:
    void schedule();
    void publish();
    StageSnapshot build();

    LibraryFilter* filter_; // lives as long as the application
    QPointer<ArrayController> currentSetlist_;
    QPointer<StagePosition> position_;
    QPointer<DawControl> daw_;
    SongLengths lengths_;
    StageSnapshot snapshot_;
    bool pending_ = false;
};

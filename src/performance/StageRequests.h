#pragma once

#include <QObject>
#include <QPointer>

class SongRecall;
class StagePosition;

// The one way in for whatever asks the stage to move besides a MIDI trigger: the Perform
// view's buttons (and the stage keys that press them), the web remote and the OSC surface. Each
// request runs the recall a trigger or a button runs, inside the guard, so a refused step
// (no song there) ends quietly with its log line.
class StageRequests : public QObject {
    Q_OBJECT
public:
    StageRequests(SongRecall* recall, StagePosition* position, QObject* parent = nullptr);

    void next();
    void previous();
    // The song selected in the running order.
    void selected();
    // The song at `row` of the running order, as a click on it and Go to Project.
    void row(int row);
    // The song with this program number.
    void number(int number);
    // The song with the number recorded last (program change 126, the Perform view's button).
    void recordedNumber();

private:
    QPointer<SongRecall> recall_;
    QPointer<StagePosition> position_;
};

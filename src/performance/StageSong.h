#pragma once

#include <QObject>
#include <QPointer>

class ArrayController;
class DawControl;
class TableView;

// Keeps the stage's song and the DAW's together where no recall does: a DAW that announces
// itself opens the song the stage is on (the current setlist's selected song, else its first),
// and a stage with no song chosen takes up the one the DAW has (the first song it opened, or
// the song a DAW taken over from an earlier Gigmora still plays), so the next trigger goes on
// from there.
class StageSong : public QObject {
    Q_OBJECT
public:
    StageSong(ArrayController* currentSetlist, TableView* setlistTableView, DawControl* daw,
              QObject* parent = nullptr);

    // The song's session folder; empty when the stage has no song.
    QString path() const;
    // The song after `song` in the current setlist; empty after the last or for none.
    QString songAfter(const QString& song) const;

private:
    // Puts the stage on the DAW's song: always for one taken over, else only when the stage
    // has no song chosen.
    void follow(const QString& path, bool adopted);

    QPointer<ArrayController> currentSetlist_;
    QPointer<TableView> setlistTableView_;
    QPointer<DawControl> daw_;
};

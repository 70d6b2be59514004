#pragma once

#include "daw/StagePlan.h"

#include <QObject>
#include <QPointer>

class ArrayController;
class DawControl;
class TableView;

// The one owner of where the stage is: the current setlist's chosen row. Every move of the
// stage goes through `select`, and every change of the setlist or its selection is published
// at once as a plain plan of the songs' paths, which the DAW control is given (it never asks
// back). A DAW that has a
// song no recall asked for puts the stage there: always one taken over from an earlier
// Gigmora, otherwise only while the stage has no song chosen.
class StagePosition : public QObject {
    Q_OBJECT
public:
    StagePosition(ArrayController* currentSetlist, TableView* setlistTable, DawControl* daw,
                  QObject* parent = nullptr);

    // The chosen row; -1 for none.
    int row() const { return plan_.at; }
    // The row after the chosen one; -1 after the last and with none chosen.
    int nextRow() const { return plan_.rowAfter(row()); }
    // Moves the stage to `row`; false for a row that is no row, which ends the caller's
    // operation as the table does.
    bool select(qsizetype row);
    const StagePlan& plan() const { return plan_; }

signals:
    void planChanged(const StagePlan& plan);

private:
    void update();
    void follow(const QString& path, bool adopted);

    QPointer<ArrayController> currentSetlist_;
    QPointer<TableView> setlistTable_;
    QPointer<DawControl> daw_;
    StagePlan plan_;
};

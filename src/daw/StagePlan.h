#pragma once

#include <QString>
#include <QStringList>

// Where the stage is, as the DAW control is given it: the running order's songs and the chosen
// row. A plain value, so that the DAW side never asks the stage and a test can write one down.
struct StagePlan {
    QStringList order; // the songs' projects, in the running order
    int at = -1;       // the chosen row; -1: none

    // The row after `row`; -1 after the last (no wrap-around) and for no row.
    int rowAfter(int row) const { return row >= 0 && row + 1 < order.size() ? row + 1 : -1; }
    // The song the DAW should have: the chosen one, else the first; empty for an empty order.
    QString current() const;
    // The song after the current one; empty after the last.
    QString next() const { return after(current()); }
    // The song after `song`: from where the stage stands when it is that song (a set may play
    // a song twice), else from where the song first stands; empty after the last or for none.
    QString after(const QString& song) const;
    bool operator==(const StagePlan&) const = default;
};

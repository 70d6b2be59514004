#pragma once

#include <QString>
#include <QStringList>

// Where the set is, as the remotes show it: the selected setlist, its running order, the
// current and next song and the DAW's state line.
struct StageSnapshot {
    QString setlist;
    QStringList songs; // the running order's titles
    int currentRow = -1;
    QString current, next, state;
    bool operator==(const StageSnapshot&) const = default;
};

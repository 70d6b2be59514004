#pragma once

#include "daw/DawStatus.h"

#include <QString>
#include <QStringList>

// Where the set is, as the remotes show it: the selected setlist, its running order, the
// current and next song, and the DAW's state in words and in fields.
struct StageSnapshot {
    QString setlist;
    QStringList songs; // the running order's titles
    int currentRow = -1;
    QString current, next, state;
    DawStatus daw;
    bool operator==(const StageSnapshot&) const = default;
};

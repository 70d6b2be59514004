#pragma once

#include "daw/DawStatus.h"

#include <QString>
#include <QStringList>
#include <optional>

// Where the set is, as the remotes show it: the selected setlist, its running order, the
// current and next song, how long the rest of the set plays, and the DAW's state in words and
// in fields.
struct StageSnapshot {
    QString setlist;
    QStringList songs;                    // the running order's titles
    QList<std::optional<double>> seconds; // and lengths, none where unknown
    std::optional<double> secondsLeft;    // from the current song on; none if nothing's known
    QString timeLeft; // "Time left: 42:10 (2 songs without a known length)", or empty
    int currentRow = -1;
    QString current, next, state;
    DawStatus daw;
    bool operator==(const StageSnapshot&) const = default;
};

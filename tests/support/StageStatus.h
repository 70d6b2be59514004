#pragma once

#include "daw/DawStatus.h"

// The DAW's status as the tests expect it, in fields.
namespace stage {
using Phase = DawStatus::Phase;
// `song` playing, with a standby holding `next` in the phase given (none: no standby shown).
inline DawStatus playing(const QString& song, const QString& next = {},
                         Phase standby = Phase::Loaded) {
    DawStatus s{Phase::Loaded, song};
    if (!next.isEmpty()) {
        s.standby = standby;
        s.next = next;
    }
    return s;
}
// The same with a standby up that holds nothing (after the last song).
inline DawStatus playingLast(const QString& song) {
    DawStatus s = playing(song);
    s.standby = Phase::Ready;
    return s;
}
} // namespace stage

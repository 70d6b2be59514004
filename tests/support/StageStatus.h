#pragma once

#include "daw/DawStatus.h"

// The DAW's status as the tests expect it, in fields.
namespace stage {
using Phase = DawStatus::Phase;
// `song` playing, with a standby holding `next` in the phase given (none: no standby shown).
inline DawStatus playing(const QString& song, const QString& next = {},
                         Phase standby = Phase::Loaded) {
    return {Phase::Loaded, song, {}, 0, {}, next.isEmpty() ? Phase::Off : standby, next};
}
// The same with a standby up that holds nothing (after the last song).
inline DawStatus playingLast(const QString& song) {
    return {Phase::Loaded, song, {}, 0, {}, Phase::Ready, {}};
}
} // namespace stage

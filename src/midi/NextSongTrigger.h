#pragma once

#include <cstddef>
#include <cstdint>

// Whether one whole MIDI message moves the stage to the next song: a program change 127 on
// any channel, or Gigmora's own system-exclusive message. The MIDI engine and the audio
// router's process callback both ask here, so the two can never disagree on a trigger.
// Real-time safe.
inline bool isNextSongTrigger(const uint8_t* data, size_t size) {
    constexpr uint8_t kSysex[] = {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7};
    if (size == 2) return (data[0] & 0xF0) == 0xC0 && data[1] == 127;
    if (size != sizeof kSysex) return false;
    for (size_t i = 0; i < size; ++i)
        if (data[i] != kSysex[i]) return false;
    return true;
}

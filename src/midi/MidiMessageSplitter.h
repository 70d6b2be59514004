#pragma once

#include <cstddef>
#include <cstdint>

// Cuts a run of MIDI bytes into single messages by their status bytes, for systems whose
// receivers read one message per event: a system-exclusive message runs to its F7, a status
// byte with too few data bytes after it ends early, and bytes with no status before them stay
// together as they are.
class MidiMessageSplitter {
public:
    // Length of the message that the status byte `status` starts (sysex: 0, meaning "to F7").
    static constexpr size_t lengthFor(uint8_t status) {
        if (status < 0x80) return 1;
        if (status < 0xF0) return (status & 0xE0) == 0xC0 ? 2 : 3;
        switch (status) {
        case 0xF0:
            return 0;
        case 0xF1:
        case 0xF3:
            return 2;
        case 0xF2:
            return 3;
        default:
            return 1;
        }
    }

    template <typename F> static void forEach(const uint8_t* data, size_t length, F&& f) {
        size_t i = 0;
        while (i < length) {
            const uint8_t status = data[i];
            size_t end = i + 1;
            if (status < 0x80) {
                while (end < length && data[end] < 0x80)
                    ++end;
            } else if (status == 0xF0) {
                while (end < length && data[end] != 0xF7)
                    ++end;
                if (end < length) ++end; // the F7
            } else if (status < 0xF8) {
                const size_t want = lengthFor(status);
                while (end < length && end - i < want && data[end] < 0x80)
                    ++end;
            }
            f(data + i, end - i);
            i = end;
        }
    }
};

#pragma once

#include "midi/MidiTypes.h"

#include <cstdio>

// The read procedure of "Gigmora Virtual Input": runs on the MIDI system's thread, keeps the
// capture, recognises the next-song system-exclusive message and queues the main thread's
// handlers. No allocation, no lock.
class ReadProcedure {
public:
    static void midiReadProc(const uint8_t* packetList, size_t byteCount, void* readProcRefCon,
                             void* srcConnRefCon);
    // Diagnostic: prints one packet's bytes; nothing calls it.
    static void packetDump(const uint8_t* data, uint16_t length, FILE* out = stdout);
};

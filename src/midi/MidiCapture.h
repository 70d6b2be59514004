#pragma once

#include <atomic>
#include <cstdint>

// The last program change or note-on seen by the read procedure, shared with the main thread
// without a lock: last writer wins.
struct MidiCapture {
    static std::atomic<uint64_t> status;
    static std::atomic<uint64_t> data1;
    static std::atomic<uint64_t> data2;
};

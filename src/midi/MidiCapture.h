#pragma once

#include <atomic>
#include <cstdint>

// The last program change or note-on seen by the read procedure, shared with the main thread
// without a lock: last writer wins. The engine holds the one its read procedure writes.
struct MidiCapture {
    std::atomic<uint64_t> status{0};
    std::atomic<uint64_t> data1{0};
    std::atomic<uint64_t> data2{0};
};

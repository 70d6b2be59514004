#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <jack/ringbuffer.h>

// A lock-free queue of MIDI events between one writer and one reader, for the real-time
// thread: each event is the port slot it belongs to, its size and its bytes. Neither side
// allocates or locks.
class JackEventRing {
public:
    // The front event, once all of it has been written.
    struct Event {
        int slot;
        size_t size;
    };

    explicit JackEventRing(size_t bytes);
    ~JackEventRing();

    // False when the event does not fit now (the caller counts it as dropped).
    bool write(int slot, const uint8_t* data, size_t size);
    bool front(Event* event) const;
    // Hands the front event's bytes to `dst` (room for its size) and removes it.
    void pop(uint8_t* dst);
    void discard();

private:
    struct Free {
        void operator()(jack_ringbuffer_t* ring) const;
    };
    std::unique_ptr<jack_ringbuffer_t, Free> ring_;
};

#pragma once

#include <atomic>
#include <cstddef>

#include <jack/types.h>

// Two trivial JACK clients that pass a count through a plain connection, one a period: a
// period in which the count has not moved on is one the server itself lost. What a client
// under test loses beyond that is its own.
class JackWitness {
public:
    JackWitness();
    ~JackWitness();
    JackWitness(const JackWitness&) = delete;
    JackWitness& operator=(const JackWitness&) = delete;

    bool isOpen() const { return sender_ && receiver_ && connected_; }
    // Periods the receiver has run, and those of them in which the count came late.
    size_t periods() const { return periods_.load(std::memory_order_acquire); }
    size_t stale() const { return stale_.load(std::memory_order_acquire); }

private:
    static int send(jack_nframes_t frames, void* self);
    static int receive(jack_nframes_t frames, void* self);

    jack_client_t* sender_ = nullptr;
    jack_client_t* receiver_ = nullptr;
    jack_port_t* out_ = nullptr;
    jack_port_t* in_ = nullptr;
    bool connected_ = false;
    float count_ = 0.0f; // the sender's
    float last_ = 0.0f;  // the receiver's
    std::atomic<size_t> periods_{0};
    std::atomic<size_t> stale_{0};
};

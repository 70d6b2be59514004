#pragma once

#include "midi/MidiPacketList.h"
#include "midi/MidiTypes.h"
#include "midi/backends/jack/JackEventRing.h"

#include <array>
#include <atomic>
#include <mutex>
#include <semaphore.h>
#include <thread>

#include <jack/types.h>

// The real-time side of the JACK backend. JACK's process callback only moves events between
// the ports and two lock-free rings, one MIDI message per JACK event; a receive thread (the
// "MIDI system's own thread") builds a packet list of each arriving event and calls the
// destination's read procedure; senders queue their messages for the next period. Ports are
// published to the callback through atomics, so the backend can rebuild them at any time.
class JackRealtimeQueue {
public:
    static constexpr int kSlots = 8;

    JackRealtimeQueue();
    ~JackRealtimeQueue();

    // JACK's process callback; `arg` is the queue.
    static int process(jack_nframes_t nframes, void* arg);

    void setReader(int slot, MIDIReadProc proc, void* refCon);
    void setPort(bool destination, int slot, jack_port_t* port);
    void setSource(int slot, MIDIEndpointRef source);
    // Every port gone (the client is closing or was lost); readers and sources stay.
    void clearPorts();
    // Everything gone, readers and sources too.
    void clear();
    // What a JACK MIDI buffer holds at the most, for the client now connected.
    void setMaxEventSize(size_t bytes) { maxEventSize_.store(bytes); }
    // Queues the packets' messages for `source`'s port; no lock the callback waits on.
    OSStatus send(MIDIEndpointRef source, const MidiPacketList& list);

private:
    struct ReadTarget {
        std::atomic<MIDIReadProc> proc{nullptr};
        std::atomic<void*> refCon{nullptr};
    };
    int process(jack_nframes_t nframes);
    void receiveLoop();
    int sourceSlot(MIDIEndpointRef source) const;

    std::array<std::atomic<jack_port_t*>, kSlots> inPorts_{};
    std::array<std::atomic<jack_port_t*>, kSlots> outPorts_{};
    std::array<std::atomic<MIDIEndpointRef>, kSlots> sources_{};
    std::array<ReadTarget, kSlots> readers_{};
    JackEventRing in_, out_;
    std::mutex outWriteMutex_; // the senders of out_ (never the real-time thread)
    std::atomic<size_t> maxEventSize_{0};
    std::atomic<uint64_t> dropped_{0};
    sem_t inputReady_;
    std::atomic<bool> stopping_{false};
    std::thread receiver_;
    MidiPacketList scratch_; // receive thread only
};

#include "midi/backends/jack/JackRealtimeQueue.h"

#include "midi/MidiLog.h"
#include "midi/MidiMessageSplitter.h"

#include <jack/jack.h>
#include <jack/midiport.h>
#include <time.h>
#include <vector>

namespace {
constexpr size_t kRingSize = 1 << 20;
constexpr long kReceiveWakeNs = 200 * 1000000L;
} // namespace

JackRealtimeQueue::JackRealtimeQueue() : in_(kRingSize), out_(kRingSize) {
    sem_init(&inputReady_, 0, 0);
    receiver_ = std::thread([this] { receiveLoop(); });
}

JackRealtimeQueue::~JackRealtimeQueue() {
    stopping_ = true;
    sem_post(&inputReady_);
    if (receiver_.joinable()) receiver_.join();
    sem_destroy(&inputReady_);
}

void JackRealtimeQueue::setReader(int slot, MIDIReadProc proc, void* refCon) {
    // The reference first, so that no event finds the procedure without it.
    readers_[slot].refCon.store(refCon);
    readers_[slot].proc.store(proc, std::memory_order_release);
}

void JackRealtimeQueue::setPort(bool destination, int slot, jack_port_t* port) {
    (destination ? inPorts_ : outPorts_)[slot].store(port, std::memory_order_release);
}

void JackRealtimeQueue::setSource(int slot, MIDIEndpointRef source) {
    sources_[slot].store(source, std::memory_order_release);
}

void JackRealtimeQueue::clearPorts() {
    for (auto& p : inPorts_)
        p.store(nullptr);
    for (auto& p : outPorts_)
        p.store(nullptr);
}

void JackRealtimeQueue::clear() {
    clearPorts();
    for (int slot = 0; slot < kSlots; ++slot) {
        setReader(slot, nullptr, nullptr);
        setSource(slot, 0);
    }
}

int JackRealtimeQueue::process(jack_nframes_t nframes, void* arg) {
    return static_cast<JackRealtimeQueue*>(arg)->process(nframes);
}

// Real-time thread: no allocation, no lock, no system call but sem_post.
int JackRealtimeQueue::process(jack_nframes_t nframes) {
    bool any = false;
    for (int slot = 0; slot < kSlots; ++slot) {
        jack_port_t* port = inPorts_[slot].load(std::memory_order_acquire);
        if (!port) continue;
        void* buffer = jack_port_get_buffer(port, nframes);
        const uint32_t n = jack_midi_get_event_count(buffer);
        for (uint32_t k = 0; k < n; ++k) {
            jack_midi_event_t ev;
            if (jack_midi_event_get(&ev, buffer, k) != 0) continue;
            if (in_.write(slot, ev.buffer, ev.size))
                any = true;
            else
                dropped_.fetch_add(1, std::memory_order_relaxed);
        }
    }
    if (any) sem_post(&inputReady_);

    std::array<void*, kSlots> buffers{};
    std::array<bool, kSlots> written{};
    for (int slot = 0; slot < kSlots; ++slot)
        if (jack_port_t* port = outPorts_[slot].load(std::memory_order_acquire)) {
            buffers[slot] = jack_port_get_buffer(port, nframes);
            jack_midi_clear_buffer(buffers[slot]);
        }
    JackEventRing::Event e;
    while (out_.front(&e)) {
        void* buffer = e.slot < kSlots ? buffers[e.slot] : nullptr;
        jack_midi_data_t* dst = buffer ? jack_midi_event_reserve(buffer, 0, e.size) : nullptr;
        if (buffer && !dst && written[e.slot])
            break; // the port's buffer is full this period: the rest goes out in the next one
        if (dst) {
            out_.pop(dst);
            written[e.slot] = true;
        } else {
            // The port is gone, or the event does not fit even an empty buffer: it never
            // will, and must not hold up the events behind it.
            out_.discard();
            if (buffer) dropped_.fetch_add(1, std::memory_order_relaxed);
        }
    }
    return 0;
}

void JackRealtimeQueue::receiveLoop() {
    std::vector<uint8_t> data(0x10000);
    uint64_t reportedDrops = 0;
    while (!stopping_.load()) {
        // The real-time side can only count what it could not carry; say so here.
        if (const uint64_t drops = dropped_.load(); drops != reportedDrops) {
            qCWarning(lcJack).noquote()
                << drops - reportedDrops
                << "MIDI events were dropped: a JACK buffer was full or too small for them.";
            reportedDrops = drops;
        }
        struct timespec deadline;
        clock_gettime(CLOCK_REALTIME, &deadline);
        deadline.tv_nsec += kReceiveWakeNs;
        if (deadline.tv_nsec >= 1000000000L) {
            deadline.tv_sec += 1;
            deadline.tv_nsec -= 1000000000L;
        }
        sem_timedwait(&inputReady_, &deadline);
        JackEventRing::Event e;
        while (in_.front(&e)) {
            in_.pop(data.data());
            if (e.slot >= kSlots) continue;
            MIDIReadProc proc = readers_[e.slot].proc.load(std::memory_order_acquire);
            if (!proc) continue;
            // One event, one packet list: that is how a sender's messages arrive.
            scratch_.clear();
            scratch_.addPacket(0, data.data(), uint16_t(e.size));
            proc(scratch_.data(), scratch_.size(), readers_[e.slot].refCon.load(), nullptr);
        }
    }
}

int JackRealtimeQueue::sourceSlot(MIDIEndpointRef source) const {
    for (int s = 0; s < kSlots; ++s)
        if (source != 0 && sources_[s].load(std::memory_order_acquire) == source) return s;
    return -1;
}

OSStatus JackRealtimeQueue::send(MIDIEndpointRef source, const MidiPacketList& list) {
    const int slot = sourceSlot(source);
    if (slot < 0) return kMIDIInvalidPort;
    const size_t maxEvent = maxEventSize_.load();
    std::lock_guard lock(outWriteMutex_);
    list.forEachPacket([&](const MidiPacketList::Packet& packet) {
        MidiMessageSplitter::forEach(packet.data, packet.length, [&](const uint8_t* m, size_t n) {
            if (maxEvent != 0 && n > maxEvent) {
                qCWarning(lcJack).noquote()
                    << "A MIDI message of" << n << "bytes was not sent: a JACK MIDI buffer holds"
                    << maxEvent << "at the most.";
                return;
            }
            if (!out_.write(slot, m, n)) dropped_.fetch_add(1);
        });
    });
    return kMidiNoErr;
}

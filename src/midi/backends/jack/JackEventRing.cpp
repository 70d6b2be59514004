#include "midi/backends/jack/JackEventRing.h"

#include <cstring>
#include <jack/ringbuffer.h>

namespace {
constexpr size_t kHeader = 3; // slot byte, 16-bit size
}

void JackEventRing::Free::operator()(jack_ringbuffer_t* ring) const {
    if (ring) jack_ringbuffer_free(ring);
}

JackEventRing::JackEventRing(size_t bytes) : ring_(jack_ringbuffer_create(bytes)) {
    jack_ringbuffer_mlock(ring_.get());
}

JackEventRing::~JackEventRing() = default;

bool JackEventRing::write(int slot, const uint8_t* data, size_t size) {
    if (size > 0xFFFF || jack_ringbuffer_write_space(ring_.get()) < kHeader + size) return false;
    const uint8_t slotByte = static_cast<uint8_t>(slot);
    const uint16_t length = static_cast<uint16_t>(size);
    jack_ringbuffer_write(ring_.get(), reinterpret_cast<const char*>(&slotByte), 1);
    jack_ringbuffer_write(ring_.get(), reinterpret_cast<const char*>(&length), 2);
    jack_ringbuffer_write(ring_.get(), reinterpret_cast<const char*>(data), size);
    return true;
}

bool JackEventRing::front(Event* event) const {
    const size_t readable = jack_ringbuffer_read_space(ring_.get());
    if (readable < kHeader) return false;
    char header[kHeader];
    jack_ringbuffer_peek(ring_.get(), header, kHeader);
    uint16_t size;
    std::memcpy(&size, header + 1, 2);
    if (readable < kHeader + size) return false; // the rest is still being written
    *event = {static_cast<uint8_t>(header[0]), size};
    return true;
}

void JackEventRing::pop(uint8_t* dst) {
    Event e;
    if (!front(&e)) return;
    jack_ringbuffer_read_advance(ring_.get(), kHeader);
    jack_ringbuffer_read(ring_.get(), reinterpret_cast<char*>(dst), e.size);
}

void JackEventRing::discard() {
    Event e;
    if (!front(&e)) return;
    jack_ringbuffer_read_advance(ring_.get(), kHeader + e.size);
}

#include "midi/backends/alsa/AlsaMidiCodec.h"

#include <alsa/asoundlib.h>
#include <gtest/gtest.h>

using Bytes = std::vector<uint8_t>;

namespace {
std::vector<snd_seq_event_t> encode(AlsaMidiCodec& codec, const Bytes& bytes) {
    std::vector<snd_seq_event_t> events;
    codec.encode(bytes.data(), bytes.size(),
                 [&](const snd_seq_event_t& ev) { events.push_back(ev); });
    return events;
}
Bytes decode(AlsaMidiCodec& codec, const snd_seq_event_t& ev) {
    Bytes out(0x10000);
    out.resize(codec.decode(ev, out.data(), out.size()));
    return out;
}
} // namespace

// The bytes Gigmora sends and receives survive ALSA's encoder and decoder unchanged, one
// sequencer event per MIDI message; no sequencer device is needed for this.
TEST(AlsaMidiCodec, BytesToEventsAndBack) {
    auto codec = AlsaMidiCodec::create();
    ASSERT_TRUE(codec);
    // The trigger, the space bar's note on and off, a control-surface message, pitch bend, sysex.
    const std::vector<Bytes> messages = {{0xC0, 0x7F},       {0x90, 0x48, 0x64},
                                         {0x80, 0x48, 0x00}, {0xB0, 0x0F, 0x0E},
                                         {0xE3, 0x00, 0x40}, {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7}};
    for (const Bytes& m : messages) {
        const auto events = encode(*codec, m);
        ASSERT_EQ(events.size(), 1u) << int(m[0]);
        EXPECT_EQ(decode(*codec, events[0]), m) << int(m[0]);
    }

    // Running status from a sender: each message comes out whole. A lone data byte or an
    // unfinished message makes no event.
    const auto running = encode(*codec, {0xC0, 0x05, 0x06});
    ASSERT_EQ(running.size(), 2u);
    EXPECT_EQ(decode(*codec, running[1]), (Bytes{0xC0, 0x06}));
    EXPECT_TRUE(encode(*codec, {0x05}).empty());
    EXPECT_TRUE(encode(*codec, {0x90, 0x48}).empty());
}

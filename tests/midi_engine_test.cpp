#include "midi/MainMidi.h"
#include "midi/MidiHost.h"
#include "midi/MidiMessageSplitter.h"
#include "midi/MidiPacketList.h"
#include "settings/Prefs.h"
#include "support/JackAvailable.h"
#include "support/JackTestClient.h"
#include "support/TempHome.h"

#include <gtest/gtest.h>

using Bytes = std::vector<uint8_t>;

namespace {
class EngineHost : public MidiHost {
public:
    Prefs* sharedPrefs() override { return prefs; }
    MainMidi* mainMidiObject() override { return engine; }
    void checkMidi() override {}
    void checkMidiWithSysex() override {}
    Prefs* prefs = nullptr;
    MainMidi* engine = nullptr;
};
} // namespace

class MidiEngine : public ::testing::Test {
protected:
    void SetUp() override {
        REQUIRE_JACK();
        TempHome::clear();
        prefs = std::make_unique<Prefs>();
        services = std::make_unique<JackMidiServices>();
        engine = std::make_unique<MainMidi>(*services, &host);
        host.prefs = prefs.get();
        host.engine = engine.get();
        engine->createMidiPort();
    }

    // A message none of the engine's own sends make, sent from the engine's source: once it
    // has arrived, whatever went out before it has too.
    static inline const Bytes kMarker{0xF0, 0x7D, 0x01, 0xF7};
    void sendMarker() {
        MidiPacketList list;
        list.addPacket(0, kMarker.data(), uint16_t(kMarker.size()));
        ASSERT_EQ(services->received(engine->sourceVirtualsrc(), list), kMidiNoErr);
    }

    std::unique_ptr<Prefs> prefs;
    std::unique_ptr<JackMidiServices> services;
    std::unique_ptr<MainMidi> engine;
    EngineHost host;
};

// Control messages go out on channel 1 whatever the settings, one MIDI message per JACK event.
TEST_F(MidiEngine, EveryControlMessageGoesOutOneMessagePerEvent) {
    prefs->prefsSelectedMidiChannel = 10; // never changes a byte
    JackTestClient daw;
    ASSERT_TRUE(daw.connectToGigmora());
    // A control-surface button: pressed, then released.
    const auto button = [](uint8_t group, uint8_t key) {
        return Bytes{0xB0, 0x0F, group, 0xB0, 0x2F, uint8_t(0x40 | key),
                     0xB0, 0x0F, group, 0xB0, 0x2F, key};
    };
    const struct {
        void (MainMidi::*send)();
        Bytes bytes;
    } cases[] = {
        {&MainMidi::sendOneZeroFour, {0xC0, 0x68}},
        {&MainMidi::sendOneZeroFive, {0xC0, 0x69}},
        {&MainMidi::sendOneZeroSeven, {0xC0, 0x6B}},
        {&MainMidi::sendMidiStop, button(0x0E, 3)}, // the other buttons are never sent
        {&MainMidi::sendLogicClose, {0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7}},
        {&MainMidi::sendLogicNextSong, {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7}},
    };
    for (const auto& c : cases) {
        daw.clearReceived();
        (engine.get()->*c.send)();
        sendMarker();
        const size_t messages = c.bytes.size() == 12 ? 4 : 1;
        ASSERT_TRUE(daw.waitForEvents(messages + 1));
        auto got = daw.received();
        ASSERT_EQ(got.size(), messages + 1) << "nothing else comes before the marker";
        Bytes all;
        for (size_t i = 0; i < messages; ++i) {
            EXPECT_EQ(got[i].bytes.size(), c.bytes.size() / messages);
            all.insert(all.end(), got[i].bytes.begin(), got[i].bytes.end());
        }
        EXPECT_EQ(all, c.bytes);
    }

    // A message larger than any JACK MIDI buffer is dropped when it is queued and holds up
    // nothing behind it.
    daw.clearReceived();
    MidiPacketList list;
    std::vector<uint8_t> huge(60000, 0x01);
    huge.front() = 0xF0;
    huge.back() = 0xF7;
    list.addPacket(0, huge.data(), uint16_t(huge.size()));
    list.addPacket(0, {0xC0, 0x68});
    EXPECT_EQ(services->received(engine->sourceVirtualsrc(), list), kMidiNoErr);
    sendMarker();
    ASSERT_TRUE(daw.waitForEvents(2));
    ASSERT_EQ(daw.received().size(), 2u);
    EXPECT_EQ(daw.received()[0].bytes, (Bytes{0xC0, 0x68}));
}

// A status cut short, data with no status, a sysex with no end pass on as they are.
TEST(MidiMessageSplitter, PassesOnWhatItCannotCut) {
    const std::vector<std::pair<Bytes, std::vector<Bytes>>> cases = {
        {{0x90, 0x48, 0xC0, 0x05}, {{0x90, 0x48}, {0xC0, 0x05}}},
        {{0x10, 0x20, 0xC0, 0x05}, {{0x10, 0x20}, {0xC0, 0x05}}},
        {{0xF7, 0xF8, 0xF0, 0x01, 0x02}, {{0xF7}, {0xF8}, {0xF0, 0x01, 0x02}}},
    };
    for (const auto& [in, want] : cases) {
        std::vector<Bytes> out;
        MidiMessageSplitter::forEach(
            in.data(), in.size(), [&](const uint8_t* m, size_t n) { out.emplace_back(m, m + n); });
        EXPECT_EQ(out, want) << in.size() << " bytes";
    }
}

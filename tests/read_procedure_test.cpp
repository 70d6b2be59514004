#include "midi/MainMidi.h"
#include "midi/MidiCapture.h"
#include "midi/MidiHost.h"
#include "midi/MidiPacketList.h"
#include "midi/ReadProcedure.h"
#include "midi/backends/none/NullMidiServices.h"
#include "support/LibraryHelpers.h"

#include <cstring>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
// Records the order of the main-thread jobs the read procedure queues.
class JobRecorder : public MidiHost {
public:
    Prefs* sharedPrefs() override { return nullptr; }
    MainMidi* mainMidiObject() override { return nullptr; }
    void checkMidi() override { jobs += 'm'; }
    void checkMidiWithSysex() override { jobs += 's'; }
    std::string jobs;
};

struct Capture {
    uint64_t status, data1, data2;
    bool operator==(const Capture&) const = default;
};
} // namespace

class ReadProcedureWalk : public ::testing::Test {
protected:
    void SetUp() override { setCapture({0, 0, 0}); }
    std::string run(const uint8_t* data, size_t size) {
        recorder.jobs.clear();
        ReadProcedure::midiReadProc(data, size, &engine, nullptr);
        processEvents();
        return recorder.jobs;
    }
    std::string run(const MidiPacketList& list) { return run(list.data(), list.size()); }
    Capture capture() {
        const MidiCapture& c = engine.capture();
        return {c.status.load(), c.data1.load(), c.data2.load()};
    }
    void setCapture(Capture c) {
        engine.capture().status = c.status;
        engine.capture().data1 = c.data1;
        engine.capture().data2 = c.data2;
    }
    JobRecorder recorder;
    NullMidiServices services;
    MainMidi engine{services, &recorder};
};

// Only a packet's first message is captured, if a program change or note; only the next-song
// sysex queues a sysex job.
TEST_F(ReadProcedureWalk, OneMessagePerPacket) {
    const struct {
        std::vector<uint8_t> bytes;
        std::string jobs;
        Capture capture;
    } cases[] = {
        {{0xC0, 0x05}, "m", {0xC0, 5, 77}}, // no byte past the packet is captured
        {{0x92, 0x48, 0x64}, "m", {0x92, 72, 100}},
        {{0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7}, "sm", {0, 0, 77}},
        {{0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7}, "m", {0, 0, 77}},
        {{0xB0, 0x07, 0x64, 0xC3, 0x7F}, "m", {0, 0, 77}},
        {{}, "", {0, 0, 77}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.bytes));
        MidiPacketList list;
        if (!c.bytes.empty()) list.addPacket(0, c.bytes.data(), uint16_t(c.bytes.size()));
        setCapture({0, 0, 77});
        EXPECT_EQ(run(list), c.jobs);
        EXPECT_EQ(capture(), c.capture);
    }
}

TEST_F(ReadProcedureWalk, NeverReadsPastTheList) {
    // Declared lengths and counts that lie: the walk stops at the end of the bytes.
    MidiPacketList lying;
    lying.addPacket(0, {0xC0, 0x05, 0x06});
    std::vector<uint8_t> bytes(lying.data(), lying.data() + lying.size());
    const uint32_t hugeCount = 0xFFFFFFFFu;
    std::memcpy(bytes.data(), &hugeCount, 4);
    const uint16_t longLength = 0xFFFF;
    std::memcpy(bytes.data() + 12, &longLength, 2);
    EXPECT_EQ(run(bytes.data(), bytes.size()), "m") << "one packet fits, so one pass";
    EXPECT_EQ(capture(), (Capture{0xC0, 5, 6}));

    // A sysex cut off by the end of the list does not match.
    MidiPacketList cut;
    cut.addPacket(0, {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7});
    EXPECT_EQ(run(cut.data(), cut.size() - 1), "m");
}

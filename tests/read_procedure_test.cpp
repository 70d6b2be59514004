#include "midi/MainMidi.h"
#include "midi/MidiCapture.h"
#include "midi/MidiHost.h"
#include "midi/MidiPacketList.h"
#include "midi/ReadProcedure.h"
#include "midi/backends/none/NullMidiServices.h"
#include "support/LibraryHelpers.h"

#include <QRandomGenerator>
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
    struct ListBytes {
        const uint8_t* data;
        size_t size;
    };
    std::string run(ListBytes list) {
        recorder.jobs.clear();
        ReadProcedure::midiReadProc(list.data, list.size, &engine, nullptr);
        processEvents();
        return recorder.jobs;
    }
    std::string run(const MidiPacketList& list) { return run(ListBytes{list.data(), list.size()}); }
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

// One packet: the jobs it queues and what it leaves in the capture (which held {0, 0, 77}).
// Only a program change or a note, and only the first message of a packet, is captured; only
// the next-song sysex queues a sysex job.
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
    EXPECT_EQ(run(ListBytes{bytes.data(), bytes.size()}), "m") << "one packet fits, so one pass";
    EXPECT_EQ(capture(), (Capture{0xC0, 5, 6}));

    // A sysex cut off by the end of the list does not match.
    MidiPacketList cut;
    cut.addPacket(0, {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7});
    EXPECT_EQ(run(ListBytes{cut.data(), cut.size() - 1}), "m");

    // Random lists, read from exactly-sized heap copies so that a stray read shows up under
    // the sanitizers: one job per packet a list can hold (up to its count), a sysex job only
    // when the sysex is in its bytes, and only bytes it holds captured.
    QRandomGenerator rng(7);
    for (int i = 0; i < 20000; ++i) {
        SCOPED_TRACE(i);
        const size_t n = rng.bounded(64);
        auto buffer = std::make_unique<uint8_t[]>(n ? n : 1);
        for (size_t k = 0; k < n; ++k)
            buffer[k] = static_cast<uint8_t>(rng.bounded(256));
        if (n >= 4 && rng.bounded(2)) {
            const uint32_t count = rng.bounded(6);
            std::memcpy(buffer.get(), &count, 4);
        }
        const std::string bytes(reinterpret_cast<const char*>(buffer.get()), n);
        size_t passes = 0;
        if (n >= MidiPacketList::kHeaderSize) {
            uint32_t count = 0;
            std::memcpy(&count, buffer.get(), 4);
            passes = std::min<size_t>(count, (n - MidiPacketList::kHeaderSize) /
                                                 MidiPacketList::kPacketHeaderSize);
        }
        setCapture({0x100, 0x100, 0x100});
        const std::string jobs = run(ListBytes{buffer.get(), n});
        ASSERT_EQ(std::count(jobs.begin(), jobs.end(), 'm'), qsizetype(passes));
        if (jobs.find('s') != std::string::npos) {
            ASSERT_NE(bytes.find("\xF0\x00\x22\x11\x02\xF7", 0, 6), std::string::npos);
        }
        const Capture c = capture();
        if (c.status != 0x100) {
            ASSERT_TRUE(c.status >> 4 == 0xC || c.status >> 4 == 0x9);
            ASSERT_NE(bytes.find(char(c.status)), std::string::npos);
        }
    }
}

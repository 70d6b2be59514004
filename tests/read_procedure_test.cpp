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

TEST_F(ReadProcedureWalk, OneMessagePerPacket) {
    MidiPacketList pc;
    pc.addPacket(0, {0xC0, 0x05});
    setCapture({0, 0, 77});
    EXPECT_EQ(run(pc), "m");
    EXPECT_EQ(capture(), (Capture{0xC0, 5, 77})) << "no byte past the packet is captured";

    MidiPacketList note;
    note.addPacket(0, {0x92, 0x48, 0x64});
    EXPECT_EQ(run(note), "m");
    EXPECT_EQ(capture(), (Capture{0x92, 72, 100}));

    MidiPacketList sysex;
    sysex.addPacket(0, {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7});
    EXPECT_EQ(run(sysex), "sm") << "the sysex job first, then the packet's";
    EXPECT_EQ(capture(), (Capture{0x92, 72, 100})) << "sysex leaves the capture alone";

    MidiPacketList close;
    close.addPacket(0, {0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7});
    EXPECT_EQ(run(close), "m");

    MidiPacketList ccThenPc;
    ccThenPc.addPacket(0, {0xB0, 0x07, 0x64, 0xC3, 0x7F});
    EXPECT_EQ(run(ccThenPc), "m");
    EXPECT_EQ(capture(), (Capture{0x92, 72, 100})) << "only the first message of a packet counts";

    MidiPacketList empty;
    EXPECT_EQ(run(empty), "");
}

TEST_F(ReadProcedureWalk, SeveralPacketsAdvanceOncePerBytePosition) {
    MidiPacketList two;
    two.addPacket(0, {0xC9, 0x7F});
    two.addPacket(0, {0xC0, 0x7E});
    EXPECT_EQ(run(two), "mm");
    // Byte 0 of the first packet, then byte 1 of the second (a data byte): only C9 7F counts.
    EXPECT_EQ(capture().status, 0xC9u);
    EXPECT_EQ(capture().data1, 0x7Fu);

    MidiPacketList zero;
    zero.addPacket(0, nullptr, 0);
    zero.addPacket(0, {0xC1, 0x10});
    EXPECT_EQ(run(zero), "mm") << "a zero-length packet does not move the walk";
    EXPECT_EQ(capture().status, 0xC9u);

    MidiPacketList shifted;
    shifted.addPacket(0, {0x01, 0x02});
    shifted.addPacket(0, {0x00, 0xC5, 0x33, 0x44});
    shifted.addPacket(0, {0x00, 0x00, 0x00});
    EXPECT_EQ(run(shifted), "mmm");
    EXPECT_EQ(capture(), (Capture{0xC5, 0x33, 0x44})) << "byte 1 of the second packet";
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
    recorder.jobs.clear();
    ReadProcedure::midiReadProc(bytes.data(), bytes.size(), &engine, nullptr);
    processEvents();
    EXPECT_EQ(recorder.jobs, "m") << "one packet fits, so one pass";
    EXPECT_EQ(capture(), (Capture{0xC0, 5, 6}));

    // A sysex cut off by the end of the list does not match.
    MidiPacketList cut;
    cut.addPacket(0, {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7});
    recorder.jobs.clear();
    ReadProcedure::midiReadProc(cut.data(), cut.size() - 1, &engine, nullptr);
    processEvents();
    EXPECT_EQ(recorder.jobs, "m");

    // Many random lists, read from exactly-sized heap copies so that a stray read shows up
    // under the sanitizers. Each gives one job per packet it can hold (up to its count), a
    // sysex job only when the sysex is in its bytes, and captures only bytes it holds.
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

#include "midi/ReadProcedure.h"

#include "midi/MainMidi.h"
#include "midi/MidiHost.h"
#include "midi/MidiPacketList.h"
#include "midi/NextSongTrigger.h"
#include "platform/MainQueue.h"

#include <algorithm>
#include <cstring>

namespace {
void checkMidiJob(void* engine) {
    if (MidiHost* host = static_cast<MainMidi*>(engine)->host()) host->checkMidi();
}
void checkMidiWithSysexJob(void* engine) {
    if (MidiHost* host = static_cast<MainMidi*>(engine)->host()) host->checkMidiWithSysex();
}

// Bytes of a packet as far as they lie inside both the packet and the list.
struct View {
    const uint8_t* data = nullptr;
    size_t available = 0;
    bool has(size_t i) const { return i < available; }
};
} // namespace

void ReadProcedure::midiReadProc(const uint8_t* list, size_t byteCount, void* readProcRefCon,
                                 void*) {
    auto* engine = static_cast<MainMidi*>(readProcRefCon);
    if (!engine || !list || byteCount < MidiPacketList::kHeaderSize) return;
    MidiCapture& capture = engine->capture();
    uint32_t count = 0;
    std::memcpy(&count, list, sizeof count);
    if (count == 0) return;
    // A count larger than the packets the list can hold is cut to what is there.
    const size_t maxPackets =
        (byteCount - MidiPacketList::kHeaderSize) / MidiPacketList::kPacketHeaderSize;
    if (count > maxPackets) count = static_cast<uint32_t>(maxPackets);

    MidiPacketList::Packet current{};
    bool inside = MidiPacketList::packetAt(list, byteCount, MidiPacketList::kHeaderSize, &current);
    for (uint32_t pass = 0; pass < count; ++pass) {
        if (inside && current.length != 0) {
            size_t j = 0;
            do {
                const size_t end = static_cast<size_t>(current.data - list);
                View v{current.data, std::min<size_t>(current.length, byteCount - end)};
                if (v.has(j)) {
                    const uint8_t s = v.data[j];
                    if ((s >> 4) == 0xC || (s >> 4) == 0x9) {
                        capture.status.store(s, std::memory_order_relaxed);
                        if (v.has(j + 1))
                            capture.data1.store(v.data[j + 1], std::memory_order_relaxed);
                        if (v.has(j + 2))
                            capture.data2.store(v.data[j + 2], std::memory_order_relaxed);
                    }
                    // Six bytes can only be the system-exclusive trigger; a program change
                    // 127 reaches the main thread through the capture.
                    if (v.has(j + 5) && isNextSongTrigger(v.data + j, 6))
                        MainQueue::asyncPlain(checkMidiWithSysexJob, engine);
                }
                // The walk moves to the next packet once per examined byte position.
                ++j;
                inside = MidiPacketList::packetAt(list, byteCount, current.next, &current);
            } while (inside && j < current.length);
        }
        MainQueue::asyncPlain(checkMidiJob, engine);
    }
}

void ReadProcedure::packetDump(const uint8_t* data, uint16_t length, FILE* out) {
    for (uint16_t i = 0; i < length; ++i)
        std::fprintf(out, data[i] < 127 ? "%d " : "0x%x ", data[i]);
    std::fprintf(out, "\n");
}

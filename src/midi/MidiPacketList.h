#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

// A packet list in the published layout: a 32-bit packet count, then per packet a 64-bit time
// stamp, a 16-bit length and that many data bytes, each packet right after the previous one.
class MidiPacketList {
public:
    static constexpr size_t kHeaderSize = 4;
    static constexpr size_t kPacketHeaderSize = 10;

    MidiPacketList();
    void clear();
    void addPacket(uint64_t timeStamp, const uint8_t* data, uint16_t length);
    void addPacket(uint64_t timeStamp, std::initializer_list<uint8_t> bytes);

    const uint8_t* data() const { return bytes_.data(); }
    size_t size() const { return bytes_.size(); }
    uint32_t packetCount() const;

    // One packet of a list as a reader sees it; false when it does not fit in the list.
    struct Packet {
        uint64_t timeStamp;
        uint16_t length;
        const uint8_t* data;
        size_t next; // offset of the following packet
    };
    static bool packetAt(const uint8_t* list, size_t byteCount, size_t offset, Packet* out);

    // Calls `f` with each packet that lies inside the list, in order.
    template <typename F> void forEachPacket(F&& f) const {
        size_t offset = kHeaderSize;
        Packet packet;
        for (uint32_t i = 0; i < packetCount() && packetAt(data(), size(), offset, &packet); ++i) {
            offset = packet.next;
            f(packet);
        }
    }

private:
    std::vector<uint8_t> bytes_;
};

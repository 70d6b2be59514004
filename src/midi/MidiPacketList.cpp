#include "midi/MidiPacketList.h"

#include <cstring>

MidiPacketList::MidiPacketList() {
    clear();
}

void MidiPacketList::clear() {
    bytes_.assign(kHeaderSize, 0);
}

uint32_t MidiPacketList::packetCount() const {
    uint32_t n;
    std::memcpy(&n, bytes_.data(), sizeof n);
    return n;
}

void MidiPacketList::addPacket(uint64_t timeStamp, const uint8_t* data, uint16_t length) {
    const size_t at = bytes_.size();
    bytes_.resize(at + kPacketHeaderSize + length);
    std::memcpy(bytes_.data() + at, &timeStamp, sizeof timeStamp);
    std::memcpy(bytes_.data() + at + 8, &length, sizeof length);
    if (length) std::memcpy(bytes_.data() + at + kPacketHeaderSize, data, length);
    const uint32_t n = packetCount() + 1;
    std::memcpy(bytes_.data(), &n, sizeof n);
}

void MidiPacketList::addPacket(uint64_t timeStamp, std::initializer_list<uint8_t> bytes) {
    addPacket(timeStamp, bytes.begin(), static_cast<uint16_t>(bytes.size()));
}

bool MidiPacketList::packetAt(const uint8_t* list, size_t byteCount, size_t offset, Packet* out) {
    if (offset < kHeaderSize || offset > byteCount || byteCount - offset < kPacketHeaderSize)
        return false;
    std::memcpy(&out->timeStamp, list + offset, 8);
    std::memcpy(&out->length, list + offset + 8, 2);
    out->data = list + offset + kPacketHeaderSize;
    out->next = offset + kPacketHeaderSize + out->length;
    return true;
}

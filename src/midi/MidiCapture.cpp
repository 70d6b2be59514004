#include "midi/MidiCapture.h"

std::atomic<uint64_t> MidiCapture::status{0};
std::atomic<uint64_t> MidiCapture::data1{0};
std::atomic<uint64_t> MidiCapture::data2{0};

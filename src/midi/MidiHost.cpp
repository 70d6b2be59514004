#include "midi/MidiHost.h"

#include <atomic>

namespace {
std::atomic<MidiHost*> g_host{nullptr};
}

MidiHost* MidiHost::applicationDelegate() {
    return g_host.load(std::memory_order_acquire);
}
void MidiHost::setApplicationDelegate(MidiHost* host) {
    g_host.store(host, std::memory_order_release);
}

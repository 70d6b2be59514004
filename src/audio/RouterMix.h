#pragma once

#include <array>
#include <atomic>
#include <cstdint>

// The sound of the router, period by period: which DAW instance reaches the outputs, and the
// fades at a swap. Each instance has a fade position; its gain is sin(position·π/2). The
// instance swapped to rises over the crossfade, the others fall over the crossfade or the
// spillover, whichever is longer, so with no spillover the two gains always keep equal power.
// A swap during a fade goes on from where the fade stands, so nothing clicks. A swap asked for
// from any thread takes effect at the first sample of the next period processed. Every channel
// (music, cues, click: up to kMaxChannels) fades with the same gains, sample for sample.
// Real-time safe: process() takes no lock, allocates nothing and calls nothing that blocks.
class RouterMix {
public:
    static constexpr int kInstances = 2;
    static constexpr int kMaxChannels = 32;
    using Inputs = std::array<std::array<const float*, kMaxChannels>, kInstances>;
    using Outputs = std::array<float*, kMaxChannels>;

    // `channels` (1 to kMaxChannels) of each instance, as many outputs.
    explicit RouterMix(int channels = 2);
    int channels() const { return channels_; }

    // Fade lengths in samples (0: at once).
    void setFades(uint32_t crossfade, uint32_t spillover);
    // Any thread: the instance to be heard from the next period on.
    void swapTo(int instance);
    int target() const { return target_.load(std::memory_order_acquire); }
    // Any thread: whether the instance is heard at all, as of the last period processed.
    bool audible(int instance) const;
    // With `instance` armed, the next trigger swaps to it in the period it is seen, without
    // waiting for anyone, and disarms; -1 disarms.
    void arm(int instance) { armed_.store(instance, std::memory_order_release); }

    // The real-time side: `frames` samples of every input to every output, `triggered` when a
    // next-song trigger came in this period; the instance this period swapped to or kept.
    int process(const Inputs& in, const Outputs& out, uint32_t frames, bool triggered);

private:
    // The gains of one stretch of a period, worked out once for every channel.
    static constexpr uint32_t kBlock = 64;

    const int channels_;
    std::atomic<int> target_{0};
    std::atomic<uint32_t> crossfade_{0};
    std::atomic<uint32_t> spillover_{0};
    std::array<std::atomic<bool>, kInstances> audible_{true, false};
    std::atomic<int> armed_{-1};
    // The real-time side's own.
    std::array<float, kInstances> position_{1.0f, 0.0f};
};

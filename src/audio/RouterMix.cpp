#include "audio/RouterMix.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

static_assert(RouterMix::kInstances == 2, "a fade mixes two instances");

RouterMix::RouterMix(int channels) : channels_(std::clamp(channels, 1, kMaxChannels)) {}

void RouterMix::setFades(uint32_t crossfade, uint32_t spillover) {
    crossfade_.store(crossfade, std::memory_order_relaxed);
    spillover_.store(spillover, std::memory_order_relaxed);
}

void RouterMix::swapTo(int instance) {
    if (instance >= 0 && instance < kInstances) target_.store(instance, std::memory_order_release);
}

bool RouterMix::audible(int instance) const {
    return instance >= 0 && instance < kInstances &&
           audible_[size_t(instance)].load(std::memory_order_acquire);
}

int RouterMix::process(const Inputs& in, const Outputs& out, uint32_t frames, bool triggered) {
    if (triggered)
        if (const int armed = armed_.exchange(-1, std::memory_order_acq_rel); armed >= 0)
            target_.store(armed, std::memory_order_release);
    const int target = target_.load(std::memory_order_acquire);
    const uint32_t crossfade = crossfade_.load(std::memory_order_relaxed);
    const uint32_t fall = std::max(crossfade, spillover_.load(std::memory_order_relaxed));
    const float up = crossfade == 0 ? 1.0f : 1.0f / float(crossfade);
    const float down = fall == 0 ? 1.0f : 1.0f / float(fall);

    bool settled = true;
    for (int i = 0; i < kInstances; ++i)
        settled &= position_[size_t(i)] == (i == target ? 1.0f : 0.0f);
    if (settled) {
        // The common case: one instance, untouched.
        for (int c = 0; c < channels_; ++c)
            std::memcpy(out[size_t(c)], in[size_t(target)][size_t(c)], frames * sizeof(float));
    } else {
        constexpr float kQuarterTurn = std::numbers::pi_v<float> / 2.0f;
        float gains[kInstances][kBlock];
        for (uint32_t from = 0; from < frames; from += kBlock) {
            const uint32_t n = std::min(kBlock, frames - from);
            for (int i = 0; i < kInstances; ++i) {
                float& p = position_[size_t(i)];
                for (uint32_t s = 0; s < n; ++s) {
                    p = i == target ? std::min(1.0f, p + up) : std::max(0.0f, p - down);
                    gains[i][s] = p == 1.0f ? 1.0f : p == 0.0f ? 0.0f : std::sin(p * kQuarterTurn);
                }
            }
            for (int c = 0; c < channels_; ++c) {
                float* o = out[size_t(c)] + from;
                const float* a = in[0][size_t(c)] + from;
                const float* b = in[1][size_t(c)] + from;
                for (uint32_t s = 0; s < n; ++s)
                    o[s] = gains[0][s] * a[s] + gains[1][s] * b[s];
            }
        }
    }
    for (int i = 0; i < kInstances; ++i)
        audible_[size_t(i)].store(position_[size_t(i)] > 0.0f, std::memory_order_release);
    return target;
}

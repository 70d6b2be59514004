// The standby DAW's song change. Needs a running JACK server (scripts/bench starts one).
//
// 1. The router's process code on a period of 256 frames: settled (one instance heard) and
//    during a swap's crossfade and spillover.
// 2. 200 song changes on program change 127: the periods from the one in which the trigger
//    was sent to the first one at Gigmora's outputs that carries the new song, and how long
//    the standby then takes to be ready again. The DAWs are stand-ins that load in 20 ms and
//    play a constant each (tests/tools/fake_nsm_daw --tone), so the figures are Gigmora's own:
//    the MIDI path, the swap armed in real time, the router, and the wait for the standby's
//    ports to settle. Ardour's own load times come from the real-Ardour test.
#include "app/AppDelegate.h"
#include "app/MainWindow.h"
#include "app/PerformanceView.h"
#include "audio/RouterMix.h"
#include "settings/GigmoraConfig.h"
#include "support/AudioProbe.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"
#include "support/StageFixture.h"

#include <QElapsedTimer>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <vector>

using namespace helpers;

namespace {
template <typename T> T percentile(std::vector<T> values, double p) {
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(p * double(values.size())))];
}

void routerProcessCost() {
    constexpr uint32_t kFrames = 256;
    for (const int channels : {2, 8, RouterMix::kMaxChannels}) {
        std::vector<float> a(kFrames, 0.25f), b(kFrames, 0.5f);
        std::vector<std::vector<float>> outs(static_cast<size_t>(channels),
                                             std::vector<float>(kFrames));
        RouterMix::Inputs in{};
        RouterMix::Outputs out{};
        for (size_t c = 0; c < size_t(channels); ++c) {
            in[0][c] = a.data();
            in[1][c] = b.data();
            out[c] = outs[c].data();
        }
        for (const bool swapping : {false, true}) {
            RouterMix mix(channels);
            // A crossfade of 64 samples and a spillover of 2 s: every period of it mixes both.
            mix.setFades(64, swapping ? 96000 : 0);
            std::vector<double> us;
            for (int period = 0; period < 100000; ++period) {
                if (swapping && period % 300 == 0) mix.swapTo(1 - mix.target());
                const auto start = std::chrono::steady_clock::now();
                mix.process(in, out, kFrames, false);
                us.push_back(std::chrono::duration<double, std::micro>(
                                 std::chrono::steady_clock::now() - start)
                                 .count());
            }
            std::printf("router process, %2d channels, %s: median %.2f us, p99 %.2f us, max "
                        "%.1f us (a period is %.0f us at 48 kHz)\n",
                        channels, swapping ? "crossfading" : "settled", percentile(us, 0.5),
                        percentile(us, 0.99), *std::max_element(us.begin(), us.end()),
                        kFrames * 1e6 / 48000);
        }
    }
}
} // namespace

class StandbyBench : public StageFixture {};

TEST_F(StandbyBench, Figures) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    routerProcessCost();

    constexpr int kSwaps = 200;
    QStringList sessions, names;
    for (int i = 0; i <= kSwaps; ++i) {
        names << QStringLiteral("Song %1").arg(i, 3, 10, QLatin1Char('0'));
        sessions << project(names.back());
        writeFile(sessions.back() + "/" + names.back() + ".ardour", "<Session/>"); // a session
    }
    makeSetlist(sessions);
    AudioProbe listener("bench listener");
    ASSERT_TRUE(listener.isOpen());
    GigmoraConfig::Daw daw;
    daw.control = GigmoraConfig::Daw::Control::SessionManager;
    daw.command = QStringLiteral("\"%1\" --tone --delay 20").arg(FAKE_NSM_DAW);
    daw.standby = true;
    daw.outputs = {listener.inputName(0), listener.inputName(1)};
    GigmoraConfig::setDaw(daw);
    launch();
    PerformanceView* stage = app->window()->performanceView();
    const auto level = [&] {
        const auto heard = listener.heard();
        return heard.empty() ? -1.0f : heard.back().last;
    };

    std::vector<size_t> periods;
    std::vector<qint64> readyMs;
    size_t silent = 0;
    for (int song = 0; song < kSwaps; ++song) {
        const QString ready = names[song] + " playing · next: " + names[song + 1] + " ready";
        QElapsedTimer standby;
        standby.start();
        ASSERT_TRUE(waitUntil([&] { return stage->dawState() == ready; }, 20000))
            << stage->dawState().toStdString();
        if (song > 0) readyMs.push_back(standby.elapsed());
        const float now = song % 2 == 0 ? 0.25f : 0.5f, next = song % 2 == 0 ? 0.5f : 0.25f;
        ASSERT_TRUE(waitUntil([&] { return level() == now; }));
        const size_t before = listener.heard().size();
        midi->send({0xC0, 0x7F});
        ASSERT_TRUE(waitUntil([&] { return level() == next; })) << names[song + 1].toStdString();
        const auto heard = listener.heard();
        for (size_t i = before; i < heard.size(); ++i) {
            silent += std::min(heard[i].first, heard[i].last) < 0.2f;
            if (heard[i].last == next) {
                periods.push_back(i - before);
                break;
            }
        }
    }
    std::printf("%d song changes: the new song at the outputs after a median of %zu and at "
                "most %zu period(s) of 256 frames; %zu silent period(s) between songs\n",
                kSwaps, percentile(periods, 0.5), *std::max_element(periods.begin(), periods.end()),
                silent);
    std::printf("standby ready again after a swap (stand-in DAW loading in 20 ms): median %lld "
                "ms, max %lld ms\n",
                percentile(readyMs, 0.5), *std::max_element(readyMs.begin(), readyMs.end()));
}

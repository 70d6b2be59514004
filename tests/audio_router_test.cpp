#include "audio/AudioRouter.h"
#include "audio/RouterMix.h"
#include "support/AudioProbe.h"
#include "support/JackAvailable.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"

#include <QString>
#include <algorithm>
#include <cmath>
#include <vector>

#include <jack/jack.h>

using namespace helpers;

namespace {
// Two instances, each a constant on its own channel: instance 0 only on channel 0 and
// instance 1 only on channel 1, so that each output channel is exactly one instance's gain.
struct Buffers {
    explicit Buffers(uint32_t frames)
        : a0(frames, 1.0f), a1(frames, 0.0f), b0(frames, 0.0f), b1(frames, 1.0f), out0(frames),
          out1(frames) {}
    RouterMix::Inputs in() const { return {{{a0.data(), a1.data()}, {b0.data(), b1.data()}}}; }
    RouterMix::Outputs out() { return {out0.data(), out1.data()}; }
    std::vector<float> a0, a1, b0, b1, out0, out1;
};

// One period through the mix; the gains of both instances, sample by sample.
struct Period {
    std::vector<float> gainA, gainB;
};
Period run(RouterMix& mix, uint32_t frames) {
    Buffers b(frames);
    mix.process(b.in(), b.out(), frames, false);
    return {b.out0, b.out1};
}
} // namespace

// A swap takes effect at the first sample of the next period; the equal-power crossfade keeps
// the sum of the squared gains at one all through it, and after it only the new instance is
// heard. Without a crossfade the swap is a cut at that first sample.
TEST(RouterMix, SwapsInThePeriodAfterItIsArmedWithAnEqualPowerCrossfade) {
    RouterMix mix;
    mix.setFades(64, 0);
    Period p = run(mix, 256);
    EXPECT_TRUE(std::all_of(p.gainA.begin(), p.gainA.end(), [](float g) { return g == 1.0f; }));
    EXPECT_TRUE(std::all_of(p.gainB.begin(), p.gainB.end(), [](float g) { return g == 0.0f; }));
    EXPECT_FALSE(mix.audible(1));

    mix.swapTo(1);
    p = run(mix, 256);
    EXPECT_GT(p.gainB[0], 0.0f) << "heard from the first sample";
    for (uint32_t s = 0; s < 256; ++s) {
        EXPECT_NEAR(p.gainA[s] * p.gainA[s] + p.gainB[s] * p.gainB[s], 1.0f, 1e-5) << s;
        if (s > 0) {
            EXPECT_GE(p.gainB[s], p.gainB[s - 1]) << s;
        }
    }
    EXPECT_EQ(p.gainA[63], 0.0f);
    EXPECT_EQ(p.gainB[63], 1.0f) << "done after 64 samples";
    EXPECT_FALSE(mix.audible(0));
    EXPECT_TRUE(mix.audible(1));

    mix.setFades(0, 0);
    mix.swapTo(0);
    p = run(mix, 32);
    EXPECT_EQ(p.gainA[0], 1.0f);
    EXPECT_EQ(p.gainB[0], 0.0f);
}

// With a spillover the song left behind fades out over it, under the new one, and counts as
// heard until it has gone.
TEST(RouterMix, TheSpilloverRingsOnUnderTheNewSong) {
    RouterMix mix;
    mix.setFades(64, 1000);
    run(mix, 128);
    mix.swapTo(1);
    Period p = run(mix, 512);
    EXPECT_EQ(p.gainB[63], 1.0f);
    EXPECT_GT(p.gainA[511], 0.0f) << "still ringing";
    for (uint32_t s = 1; s < 512; ++s)
        EXPECT_LE(p.gainA[s], p.gainA[s - 1]) << s;
    EXPECT_TRUE(mix.audible(0));
    p = run(mix, 512);
    EXPECT_EQ(p.gainA[488], 0.0f) << "gone after 1000 samples";
    EXPECT_FALSE(mix.audible(0));
}

// Swaps that come faster than the crossfade turn the fades round where they stand: no gain
// jumps from one sample to the next by more than one step of the fade.
TEST(RouterMix, RapidSwapsNeverJump) {
    RouterMix mix;
    mix.setFades(100, 0);
    float last = 1.0f;
    const float step = std::sin(std::acos(-1.0f) / 2.0f / 100.0f) + 1e-4f;
    for (int swap = 0; swap < 10; ++swap) {
        mix.swapTo(swap % 2 == 0 ? 1 : 0);
        const Period p = run(mix, 30);
        for (float g : p.gainA) {
            EXPECT_LE(std::abs(g - last), step) << "swap " << swap;
            last = g;
        }
    }
    const Period settled = run(mix, 256);
    EXPECT_EQ(settled.gainA.back(), 1.0f) << "the last swap (to the first instance) wins";
    EXPECT_EQ(settled.gainB.back(), 0.0f);
}

// On the real server: each instance's master outputs reach the router only (a connection the
// session brought along to the speakers is cut), the outputs hear the active instance, and a
// swap is heard within two periods of being armed, with no silent period between the songs.
TEST(AudioRouter, RoutesTheActiveInstanceAndSwapsWithinTwoPeriods) {
    REQUIRE_JACK();
    AudioProbe listener("router listener");
    ASSERT_TRUE(listener.isOpen());
    AudioProbe a("Gigmora DAW", 0.25f), b("Gigmora Second DAW", 0.5f);
    ASSERT_TRUE(a.isOpen() && b.isOpen());
    // As a session restores its connections: straight to the speakers.
    ASSERT_EQ(jack_connect(a.client(), a.outputName(0).toUtf8().constData(),
                           listener.inputName(1).toUtf8().constData()),
              0);

    AudioRouter router({{listener.inputName(0), listener.inputName(1)}, 64, 0});
    const Result<> started = router.start();
    ASSERT_TRUE(started) << started.failure().words.toStdString();
    ASSERT_TRUE(router.routeInstance(0, "Gigmora DAW", "Master/audio_out"));
    ASSERT_TRUE(router.routeInstance(1, "Gigmora Second DAW", "Master/audio_out"));
    EXPECT_FALSE(jack_port_connected_to(jack_port_by_name(a.client(), a.outputName(0).toUtf8()),
                                        listener.inputName(1).toUtf8().constData()))
        << "only the router hears an instance";
    EXPECT_FALSE(router.routeInstance(1, "Nobody", "Master/audio_out"));

    const auto levelNow = [&] {
        const auto h = listener.heard();
        return h.empty() ? -1.0f : h.back().last;
    };
    ASSERT_TRUE(waitUntil([&] { return levelNow() == 0.25f; })) << "the first instance";

    for (int swap = 0; swap < 6; ++swap) {
        const int to = swap % 2 == 0 ? 1 : 0;
        const float level = to == 1 ? 0.5f : 0.25f;
        const size_t before = listener.heard().size();
        router.swapTo(to);
        ASSERT_TRUE(waitUntil([&] { return levelNow() == level; })) << "swap " << swap;
        const auto heard = listener.heard();
        for (size_t i = before; i < heard.size(); ++i) {
            EXPECT_GT(std::min(heard[i].first, heard[i].last), 0.2f) << "no silent period";
            if (heard[i].last == level) {
                // In the listener's periods: the dummy driver's frame times are too loose.
                EXPECT_LE(i - before, 2u) << "swap " << swap;
                break;
            }
        }
    }
}

// A source of Gigmora's virtual input reaches the router's own MIDI input too, and a next-song
// trigger from it swaps the armed instance at the first sample of the router's period it
// arrives in. Anything else, or a trigger with nothing armed, swaps nothing; a source taken off
// the virtual input is taken off the router.
TEST(AudioRouter, AnArmedTriggerSwapsInThePeriodItArrives) {
    REQUIRE_JACK();
    AudioProbe listener("router listener");
    AudioProbe a("Gigmora DAW", 0.25f), b("Gigmora Second DAW", 0.5f);
    JackTestClient gigmora("Gigmora Midi"), foot("foot");
    ASSERT_TRUE(listener.isOpen() && a.isOpen() && b.isOpen() && gigmora.isOpen() && foot.isOpen());
    ASSERT_TRUE(jack_port_register(gigmora.client(), "Gigmora Virtual Input",
                                   JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0));
    AudioRouter router({{listener.inputName(0), listener.inputName(1)}, 0, 0});
    const Result<> started = router.start();
    ASSERT_TRUE(started) << started.failure().words.toStdString();
    ASSERT_TRUE(router.routeInstance(0, "Gigmora DAW", "Master/audio_out"));
    ASSERT_TRUE(router.routeInstance(1, "Gigmora Second DAW", "Master/audio_out"));
    const jack_port_t* pedal = jack_port_by_name(foot.client(), "foot:out");
    ASSERT_EQ(jack_connect(foot.client(), "foot:out", "Gigmora Midi:Gigmora Virtual Input"), 0);
    router.followTriggerSources();
    ASSERT_TRUE(jack_port_connected_to(pedal, "Gigmora Audio:trigger in"));

    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
        bool armed, swaps;
    } cases[] = {
        {"program change 127, channel 10", {0xC9, 0x7F}, true, true},
        {"the next-song sysex", {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7}, true, true},
        {"program change 126", {0xC0, 0x7E}, true, false},
        {"the close command's sysex", {0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7}, true, false},
        {"program change 127, nothing armed", {0xC0, 0x7F}, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        router.swapTo(0);
        ASSERT_TRUE(waitUntil([&] { return router.audible(0) && !router.audible(1); }));
        router.arm(c.armed ? 1 : -1);
        const uint64_t before = foot.lastSentCycle();
        foot.send(c.bytes);
        ASSERT_TRUE(waitUntil([&] { return foot.lastSentCycle() != before; }));
        const jack_nframes_t sent = foot.lastSentFrame();
        ASSERT_TRUE(waitUntil([&] {
            const auto h = listener.heard();
            return !h.empty() && h.back().start > sent + 2 * listener.period();
        }));
        // The listener runs after the router in the same cycle: its period is the router's.
        const auto heard = listener.heard();
        const auto at = std::find_if(heard.begin() + 1, heard.end(),
                                     [&](const AudioProbe::Heard& h) { return h.start == sent; });
        ASSERT_NE(at, heard.end());
        EXPECT_EQ(std::prev(at)->last, 0.25f) << "not before";
        EXPECT_EQ(at->first, c.swaps ? 0.5f : 0.25f) << "from the first sample of that period";
    }

    ASSERT_EQ(jack_disconnect(foot.client(), "foot:out", "Gigmora Midi:Gigmora Virtual Input"), 0);
    router.followTriggerSources();
    EXPECT_FALSE(jack_port_connected_to(pedal, "Gigmora Audio:trigger in"));
}

// A second router on the same server is refused by name, and says so.
TEST(AudioRouter, OneRouterAServer) {
    REQUIRE_JACK();
    AudioRouter first({{}, 64, 0}), second({{}, 64, 0});
    const Result<> started = first.start();
    ASSERT_TRUE(started) << started.failure().words.toStdString();
    const Result<> taken = second.start();
    ASSERT_FALSE(taken);
    EXPECT_EQ(taken.failure().code, Failure::Code::NameTaken);
    EXPECT_EQ(taken.failure().words, "another \"Gigmora Audio\" is on the JACK server");
}

// With a transport to tell, the swap's MIDI Machine Control is sent in the very period of the
// swap; the DAW, which runs before the router in JACK's graph (the router listens to it), gets
// it at the start of its next period, no later: Play to the instance swapped to, or Stop to the one
// left behind; nothing goes to the other, and nothing at all while no swap happens.
TEST(AudioRouter, TellsTheTransportInThePeriodOfTheSwap) {
    REQUIRE_JACK();
    for (const auto transport :
         {AudioRouter::Transport::PlayNew, AudioRouter::Transport::StopOld}) {
        const bool play = transport == AudioRouter::Transport::PlayNew;
        AudioProbe listener("router listener");
        AudioProbe a("Gigmora DAW", 0.25f), b("Gigmora Second DAW", 0.5f);
        ASSERT_TRUE(listener.isOpen() && a.isOpen() && b.isOpen());
        AudioRouter router({{listener.inputName(0), listener.inputName(1)}, 64, 0, transport});
        const Result<> started = router.start();
        ASSERT_TRUE(started) << started.failure().words.toStdString();
        ASSERT_TRUE(router.routeInstance(0, "Gigmora DAW", "Master/audio_out"));
        ASSERT_TRUE(router.routeInstance(1, "Gigmora Second DAW", "Master/audio_out"));
        const auto level = [&] {
            const auto h = listener.heard();
            return h.empty() ? -1.0f : h.back().last;
        };
        ASSERT_TRUE(waitUntil([&] { return level() == 0.25f; }));
        EXPECT_TRUE(a.commands().empty() && b.commands().empty()) << "no swap, no command";

        const size_t before = listener.heard().size();
        router.swapTo(1);
        AudioProbe& told = play ? b : a;
        ASSERT_TRUE(waitUntil([&] { return level() == 0.5f && !told.commands().empty(); }));
        const auto commands = told.commands();
        ASSERT_EQ(commands.size(), 1u);
        EXPECT_EQ(commands[0].command, play ? 2 : 1);
        EXPECT_TRUE((play ? a : b).commands().empty());
        // The period whose first sample began the crossfade.
        jack_nframes_t swapped = 0;
        const auto heard = listener.heard();
        for (size_t i = before; i < heard.size(); ++i)
            if (heard[i].last != 0.25f) {
                swapped = heard[i].start;
                break;
            }
        EXPECT_GE(commands[0].start, swapped);
        EXPECT_LE(commands[0].start - swapped, listener.period())
            << (play ? "play-new" : "stop-old");
    }
}

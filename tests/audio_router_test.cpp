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
// Instance 0 a constant on the even channels only, instance 1 on the odd: each output is one
// gain, and every channel of one instance must fade as its first does.
struct Buffers {
    Buffers(uint32_t frames, int channels)
        : data(size_t(3 * channels), std::vector<float>(frames)) {
        for (int c = 0; c < channels; ++c) {
            std::fill(data[size_t(c)].begin(), data[size_t(c)].end(), c % 2 ? 0.0f : 1.0f);
            std::fill(data[size_t(channels + c)].begin(), data[size_t(channels + c)].end(),
                      c % 2 ? 1.0f : 0.0f);
            in[0][size_t(c)] = data[size_t(c)].data();
            in[1][size_t(c)] = data[size_t(channels + c)].data();
            out[size_t(c)] = data[size_t(2 * channels + c)].data();
        }
    }
    std::vector<std::vector<float>> data; // A's channels, B's, the outputs
    RouterMix::Inputs in{};
    RouterMix::Outputs out{};
};

// One period through the mix; the gains of both instances, sample by sample.
struct Period {
    std::vector<float> gainA, gainB;
};
Period run(RouterMix& mix, uint32_t frames) {
    Buffers b(frames, mix.channels());
    mix.process(b.in, b.out, frames, false);
    for (int c = 2; c < mix.channels(); ++c)
        EXPECT_EQ(b.data[size_t(2 * mix.channels() + c)],
                  b.data[size_t(2 * mix.channels() + c % 2)])
            << "channel " << c + 1 << " fades as channel " << c % 2 + 1;
    return {b.data[size_t(2 * mix.channels())], b.data[size_t(2 * mix.channels() + 1)]};
}

QStringList connections(jack_client_t* client, const QString& port) {
    QStringList out;
    const char** all =
        jack_port_get_all_connections(client, jack_port_by_name(client, port.toUtf8().constData()));
    for (const char** p = all; p && *p; ++p)
        out << QString::fromUtf8(*p);
    jack_free(all);
    return out;
}
} // namespace

// A swap starts at the next period's first sample with an equal-power crossfade.
TEST(RouterMix, SwapsInThePeriodAfterItIsArmedWithAnEqualPowerCrossfade) {
    RouterMix mix(RouterMix::kMaxChannels); // cues and click swap with the music
    mix.setFades(64, 0);
    Period p = run(mix, 256);
    EXPECT_EQ(p.gainA, std::vector<float>(256, 1.0f));
    EXPECT_EQ(p.gainB, std::vector<float>(256, 0.0f));
    EXPECT_FALSE(mix.audible(1));

    mix.swapTo(1);
    p = run(mix, 256);
    EXPECT_GT(p.gainB[0], 0.0f) << "heard from the first sample";
    for (uint32_t s = 0; s < 256; ++s) {
        EXPECT_NEAR(p.gainA[s] * p.gainA[s] + p.gainB[s] * p.gainB[s], 1.0f, 1e-5) << s;
        EXPECT_GE(p.gainB[s], s ? p.gainB[s - 1] : 0.0f) << s;
    }
    EXPECT_EQ(p.gainA[63], 0.0f);
    EXPECT_EQ(p.gainB[63], 1.0f) << "done after 64 samples";
    EXPECT_FALSE(mix.audible(0));
    EXPECT_TRUE(mix.audible(1)); // a cut without a crossfade: the trigger table below
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
}

// On the real server: a listener and two instances at constant levels 0.25 and 0.5.
struct Rig {
    explicit Rig(uint32_t crossfade, AudioRouter::Transport t = AudioRouter::Transport::Keep)
        : router({{listener.inputName(0), listener.inputName(1)}, crossfade, 0, t}) {}
    bool start() {
        const Result<> started = router.start();
        if (!started) error = started.failure().words;
        return listener.isOpen() && a.isOpen() && b.isOpen() && started &&
               router.routeInstance(0, "Gigmora DAW") &&
               router.routeInstance(1, "Gigmora Second DAW");
    }
    float level() const {
        const auto h = listener.heard();
        return h.empty() ? -1.0f : h.back().last;
    }
    AudioProbe listener{"router listener"};
    AudioProbe a{"Gigmora DAW", 0.25f}, b{"Gigmora Second DAW", 0.5f};
    AudioRouter router;
    QString error;
};

// A trigger into Gigmora's virtual input swaps the armed instance at the first sample of the
// router's period it arrives in; the router follows the sources of that input.
TEST(AudioRouter, AnArmedTriggerSwapsInThePeriodItArrives) {
    REQUIRE_JACK();
    Rig rig(0);
    JackTestClient gigmora("Gigmora Midi"), foot("foot");
    ASSERT_TRUE(gigmora.isOpen() && foot.isOpen());
    ASSERT_TRUE(jack_port_register(gigmora.client(), "Gigmora Virtual Input",
                                   JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0));
    ASSERT_TRUE(rig.start()) << rig.error.toStdString();
    const jack_port_t* pedal = jack_port_by_name(foot.client(), "foot:out");
    ASSERT_EQ(jack_connect(foot.client(), "foot:out", "Gigmora Midi:Gigmora Virtual Input"), 0);
    rig.router.followTriggerSources();
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
        rig.router.swapTo(0);
        ASSERT_TRUE(waitUntil([&] { return rig.router.audible(0) && !rig.router.audible(1); }));
        rig.router.arm(c.armed ? 1 : -1);
        const uint64_t before = foot.lastSentCycle();
        foot.send(c.bytes);
        ASSERT_TRUE(waitUntil([&] { return foot.lastSentCycle() != before; }));
        const jack_nframes_t sent = foot.lastSentFrame();
        ASSERT_TRUE(waitUntil([&] {
            const auto h = rig.listener.heard();
            return !h.empty() && h.back().start > sent + 2 * rig.listener.period();
        }));
        // The listener runs after the router in the same cycle: its period is the router's.
        const auto heard = rig.listener.heard();
        const auto at = std::find_if(heard.begin() + 1, heard.end(),
                                     [&](const AudioProbe::Heard& h) { return h.start == sent; });
        ASSERT_NE(at, heard.end());
        EXPECT_EQ(std::prev(at)->last, 0.25f) << "not before";
        EXPECT_EQ(at->first, c.swaps ? 0.5f : 0.25f) << "from the first sample of that period";
    }

    ASSERT_EQ(jack_disconnect(foot.client(), "foot:out", "Gigmora Midi:Gigmora Virtual Input"), 0);
    rig.router.followTriggerSources();
    EXPECT_FALSE(jack_port_connected_to(pedal, "Gigmora Audio:trigger in"));
}

// Only the router hears an instance; a swap is heard within two periods with no silent one, and
// its MIDI Machine Control (Play to the new instance, or Stop to the old) goes in its period.
TEST(AudioRouter, SwapsWithinTwoPeriodsAndTellsTheTransportInThePeriodOfTheSwap) {
    REQUIRE_JACK();
    for (const auto transport :
         {AudioRouter::Transport::PlayNew, AudioRouter::Transport::StopOld}) {
        const bool play = transport == AudioRouter::Transport::PlayNew;
        SCOPED_TRACE(play ? "play-new" : "stop-old");
        Rig rig(64, transport);
        const QByteArray session = rig.a.outputName(0).toUtf8();
        const QByteArray speaker = rig.listener.inputName(1).toUtf8();
        ASSERT_EQ(jack_connect(rig.a.client(), session, speaker), 0);
        ASSERT_TRUE(rig.start()) << rig.error.toStdString();
        EXPECT_FALSE(jack_port_connected_to(jack_port_by_name(rig.a.client(), session), speaker))
            << "only the router hears an instance";
        EXPECT_FALSE(rig.router.routeInstance(1, "Nobody"));
        // How a DAW the server has shut out is told: it has no port left.
        EXPECT_TRUE(rig.router.hasPorts("Gigmora Second DAW") && !rig.router.hasPorts("Gigmora"));
        ASSERT_TRUE(waitUntil([&] { return rig.level() == 0.25f; })) << "the first instance";
        EXPECT_TRUE(rig.a.commands().empty() && rig.b.commands().empty()) << "no swap, no command";

        const size_t before = rig.listener.heard().size();
        rig.router.swapTo(1);
        AudioProbe& told = play ? rig.b : rig.a;
        ASSERT_TRUE(waitUntil([&] { return rig.level() == 0.5f && !told.commands().empty(); }));
        const auto commands = told.commands();
        ASSERT_EQ(commands.size(), 1u);
        EXPECT_EQ(commands[0].command, play ? 2 : 1);
        EXPECT_TRUE((play ? rig.a : rig.b).commands().empty());
        // The period whose first sample began the crossfade, and the first all of the new song;
        // in the listener's periods: the dummy driver's frame times are too loose.
        jack_nframes_t swapped = 0;
        const auto heard = rig.listener.heard();
        for (size_t i = before; i < heard.size(); ++i) {
            EXPECT_GT(std::min(heard[i].first, heard[i].last), 0.2f) << "no silent period";
            if (heard[i].last != 0.25f && !swapped) swapped = heard[i].start;
            if (heard[i].last == 0.5f) {
                EXPECT_LE(i - before, 2u);
                break;
            }
        }
        EXPECT_GE(commands[0].start, swapped);
        EXPECT_LE(commands[0].start - swapped, rig.listener.period());
    }
}

// Each mark's outputs are the next channels, in port order; every other audio output of the DAW
// (its click) is cut, but one the settings let be heard directly; a DAW not listened to is cut
// whole.
TEST(AudioRouter, RoutesEachMarkToItsChannelsAndCutsEveryOtherOutput) {
    REQUIRE_JACK();
    AudioProbe speaker{"speaker"}, daw{"Gigmora DAW", 0.25f};
    ASSERT_TRUE(speaker.isOpen() && daw.isOpen());
    for (const char* name :
         {"Cues/audio_out 2", "Cues/audio_out 1", "Click/audio_out 1", "Monitor/audio_out 1"}) {
        ASSERT_TRUE(
            jack_port_register(daw.client(), name, JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0));
        ASSERT_EQ(jack_connect(daw.client(), QByteArray("Gigmora DAW:") + name,
                               speaker.inputName(0).toUtf8()),
                  0);
    }
    AudioRouter router({{speaker.inputName(0), speaker.inputName(1), "", ""},
                        0,
                        0,
                        AudioRouter::Transport::Keep,
                        {"Master/audio_out", "Cues/audio_out"},
                        {"Monitor/"}});
    ASSERT_TRUE(router.start());
    EXPECT_EQ(router.channels(), 4);
    ASSERT_TRUE(router.routeInstance(0, "Gigmora DAW"));
    const auto in = [](int c) { return "Gigmora Audio:" + AudioRouter::inputName(0, c); };
    EXPECT_EQ(connections(daw.client(), "Gigmora DAW:Master/audio_out 2"), QStringList{in(1)});
    EXPECT_EQ(connections(daw.client(), "Gigmora DAW:Cues/audio_out 1"), QStringList{in(2)});
    EXPECT_EQ(connections(daw.client(), "Gigmora DAW:Cues/audio_out 2"), QStringList{in(3)});
    EXPECT_TRUE(connections(daw.client(), "Gigmora DAW:Click/audio_out 1").isEmpty());
    EXPECT_EQ(connections(daw.client(), "Gigmora DAW:Monitor/audio_out 1"),
              QStringList{speaker.inputName(0)});
    EXPECT_TRUE(connections(daw.client(), "Gigmora Audio:out 3").isEmpty()) << "nowhere";
    ASSERT_TRUE(router.routeInstance(0, "Gigmora DAW", false));
    EXPECT_TRUE(connections(daw.client(), "Gigmora DAW:Cues/audio_out 2").isEmpty());
}

#pragma once

#include "audio/JackClient.h"
#include "audio/RouterMix.h"
#include "platform/Result.h"

#include <QString>
#include <QStringList>
#include <array>
#include <atomic>
#include <memory>

#include <jack/types.h>

// Gigmora's own audio path on JACK: the client "Gigmora Audio" with N channels in from each DAW
// instance (music, then cues and click on buses of their own), N out, and a MIDI input for the
// next-song trigger. Its process callback plays RouterMix: the active instance reaches the
// outputs, and a swap crossfades every channel to the other inside one period; a trigger on
// the MIDI input fires an armed swap in the very period it arrives, with no other thread on
// the way. Each instance's main outputs are connected to its inputs only, and its other audio
// outputs to nothing, so that nothing of a DAW is heard past the router. The swap's MIDI Machine
// Control goes out from a client of its own, "Gigmora Transport": from the router it would
// close a loop with each DAW in JACK's graph, and in a loop the router no longer waits for the
// DAW it reads. Everything but the process callbacks runs on the main thread.
class AudioRouter {
public:
    static constexpr const char* kClientName = "Gigmora Audio";
    static constexpr const char* kTransportName = "Gigmora Transport";
    static constexpr const char* kTriggerInput = "trigger in";
    // What the DAWs' transports are told at a swap, as MIDI Machine Control.
    enum class Transport { Keep, StopOld, PlayNew };
    struct Options {
        // One destination per channel (an empty one: nowhere); at least two channels.
        QStringList outputs;
        uint32_t crossfade = 64; // samples
        uint32_t spilloverMs = 0;
        Transport transport = Transport::Keep;
        // What marks a DAW's routed outputs, in channel order: each mark's ports, in port
        // order, are the next channels ("Master/audio_out", then "Cues/audio_out").
        QStringList mainOutputs{QStringLiteral("Master/audio_out")};
        // DAW outputs left connected as the session has them: heard past the router.
        QStringList directOutputs;
    };

    explicit AudioRouter(Options options);
    ~AudioRouter();
    AudioRouter(const AudioRouter&) = delete;
    AudioRouter& operator=(const AudioRouter&) = delete;

    // Opens the client, its ports and its connections; fails without a server or when the
    // name is taken.
    Result<> start();
    bool isRunning() const { return client_ != nullptr; }
    // Closes the client (before the DAWs it listens to go).
    void stop() {
        client_.reset();
        transport_.reset();
    }
    // "Gigmora DAW in 1", "Gigmora Second DAW in 2": the short names of the inputs.
    static QString inputName(int instance, int channel);
    static QString outputName(int channel); // "out 1", "out 2", …
    static QString mmcName(int instance);   // "MMC to Gigmora DAW", "MMC to Gigmora Second DAW"
    // The DAW instance heard from the next period on; the one heard now.
    void swapTo(int instance) { mix_.swapTo(instance); }
    // The instance the next trigger swaps to by itself, in the period it arrives; -1: none.
    void arm(int instance) { mix_.arm(instance); }
    int target() const { return mix_.target(); }
    bool audible(int instance) const { return mix_.audible(instance); }
    int channels() const { return mix_.channels(); }
    // Connects the main outputs of the JACK client `dawClient` (see Options::mainOutputs) to
    // the instance's inputs, or with `listen` false to nothing, and every other audio output it
    // has (a click, an auditioner) to nothing, unless the settings let it be heard directly;
    // false when the client shows no main output. With a transport to tell, the instance's MMC
    // output goes to the DAW's "MMC in".
    bool routeInstance(int instance, const QString& dawClient, bool listen = true);
    // Keeps `client`, a program beside an instance's DAW (a synth), to the programs of its own
    // instance (`peers`): its audio outputs reach nothing else, unless the settings let it be
    // heard directly (the speakers would hear it past the router), and a connection with the
    // other instance's programs (`others`), which a session saved under the first instance's
    // names makes in the second, is moved to `twin`, the same program of that instance.
    void confine(const QString& client, const QStringList& peers, const QStringList& others,
                 const QString& twin);
    // Whether the instance's inputs are connected (the router waits for it in every period).
    bool listensTo(int instance) const;
    // Something is connected to the instance's inputs (and MMC output, with a transport to
    // tell): swapping to it will be heard.
    bool hasInput(int instance) const;
    // Connects the trigger input to exactly what is connected to Gigmora's virtual input, so
    // that the router hears every trigger the stage hears and no other; called again whenever
    // the graph changed.
    void followTriggerSources();
    // Whether the JACK client `client` has any port on the server.
    bool hasPorts(const QString& client) const;
    jack_nframes_t sampleRate() const;
    // Whether ports came or went or connections changed on the server since the last call: a
    // DAW registers its ports again after a load and restores its session's connections.
    bool takeGraphChange() { return graphChanged_.exchange(false); }

private:
    static int process(jack_nframes_t frames, void* self);
    static int tell(jack_nframes_t frames, void* self);
    bool triggeredIn(jack_nframes_t frames) const;
    Result<> startTransport();
    static void portRegistered(jack_port_id_t, int, void* self);
    static void portConnected(jack_port_id_t, jack_port_id_t, int, void* self);
    void connectOutputs();

    Options options_;
    RouterMix mix_;
    std::atomic<bool> graphChanged_{false};
    JackClient client_;
    JackClient transport_; // with a transport to tell only
    std::array<std::array<jack_port_t*, RouterMix::kMaxChannels>, RouterMix::kInstances> inputs_{};
    std::array<jack_port_t*, RouterMix::kMaxChannels> outputs_{};
    jack_port_t* trigger_ = nullptr;
    std::array<jack_port_t*, RouterMix::kInstances> mmc_{}; // with a transport to tell only
    int heard_ = 0; // the router's: the instance of the last period
    std::array<bool, RouterMix::kInstances> toldSurplus_{}; // said once, while it lasts
    // The router's last swap for the transport client: a count, times 4, plus the instance.
    std::atomic<uint32_t> swaps_{0};
    uint32_t told_ = 0; // the transport client's: the last swap told
};

#pragma once

#include "audio/RouterMix.h"

#include <QString>
#include <QStringList>
#include <array>
#include <memory>

#include <jack/types.h>

// Gigmora's own audio path on JACK: the client "Gigmora Audio" with a stereo input pair per
// DAW instance and one stereo output pair. Its process callback plays RouterMix: the active
// instance reaches the outputs, and a swap crossfades to the other inside one period. Each
// instance's main outputs are connected to its inputs only, so that a standby DAW is never
// heard. Everything but the process callback runs on the main thread.
class AudioRouter {
public:
    static constexpr const char* kClientName = "Gigmora Audio";
    struct Options {
        QStringList outputs;     // where the output pair goes; empty: nowhere
        uint32_t crossfade = 64; // samples
        uint32_t spilloverMs = 0;
    };

    explicit AudioRouter(Options options);
    ~AudioRouter();
    AudioRouter(const AudioRouter&) = delete;
    AudioRouter& operator=(const AudioRouter&) = delete;

    // Opens the client, its ports and its connections; false, with `error` said, without a
    // server or when the name is taken.
    bool start(QString* error);
    bool isRunning() const { return client_ != nullptr; }
    // "Gigmora DAW in 1", "Gigmora DAW B in 2": the short names of the inputs.
    static QString inputName(int instance, int channel);
    static QString outputName(int channel); // "out 1", "out 2"
    // The DAW instance heard from the next period on; the one heard now.
    void swapTo(int instance) { mix_.swapTo(instance); }
    int target() const { return mix_.target(); }
    bool audible(int instance) const { return mix_.audible(instance); }
    // Connects the main outputs of the JACK client `dawClient` (its audio outputs whose names
    // contain `mainMark`, in name order) to the instance's inputs, and cuts every other
    // connection they have; false when the client shows no such outputs.
    bool routeInstance(int instance, const QString& dawClient, const QString& mainMark);
    jack_nframes_t sampleRate() const;

private:
    struct ClientCloser {
        void operator()(jack_client_t* client) const;
    };
    static int process(jack_nframes_t frames, void* self);
    void connectOutputs();

    Options options_;
    RouterMix mix_;
    std::unique_ptr<jack_client_t, ClientCloser> client_;
    std::array<std::array<jack_port_t*, RouterMix::kChannels>, RouterMix::kInstances> inputs_{};
    std::array<jack_port_t*, RouterMix::kChannels> outputs_{};
};

#pragma once

#include <QString>
#include <atomic>
#include <vector>

#include <jack/types.h>

// A JACK client of the tests': stereo "Master/audio_out" ports that play a constant, as a
// DAW's master bus would (or, with a negative level, a count that goes up by one a period: a
// witness of the periods the server itself loses, heard by another probe), a stereo input
// that notes the level of every period it hears, and an "MMC in" that notes the MIDI Machine
// Control commands it gets, as a DAW's would.
class AudioProbe {
public:
    explicit AudioProbe(const QString& name, float level = 0.0f);
    ~AudioProbe();
    AudioProbe(const AudioProbe&) = delete;
    AudioProbe& operator=(const AudioProbe&) = delete;

    bool isOpen() const { return client_ != nullptr; }
    jack_client_t* client() const { return client_; }
    QString inputName(int channel) const;
    QString outputName(int channel) const;

    struct Heard {
        jack_nframes_t start; // the period's first frame
        float first, last;    // its first and last sample, left channel
        float right;          // its last sample, right channel
    };
    // The periods heard so far.
    std::vector<Heard> heard() const;
    struct Command {
        jack_nframes_t start; // the first frame of the period it came in
        int command;          // 1 Stop, 2 Play, ...
    };
    std::vector<Command> commands() const;
    // Of the periods heard from the `from`th, those in which a witness's count did not go on.
    size_t stale(size_t from) const;
    jack_nframes_t now() const;
    jack_nframes_t period() const;

private:
    static constexpr size_t kPeriods = 200000;
    static int process(jack_nframes_t frames, void* self);

    jack_client_t* client_ = nullptr;
    jack_port_t* out_[2] = {};
    jack_port_t* in_[2] = {};
    jack_port_t* mmc_ = nullptr;
    const float level_;
    float sent_ = 0.0f; // the count, with a negative level
    std::vector<Heard> heard_;
    std::atomic<size_t> count_{0};
    static constexpr size_t kCommands = 1000;
    std::vector<Command> commands_;
    std::atomic<size_t> commandCount_{0};
};

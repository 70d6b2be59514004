#include "support/AudioProbe.h"

#include <algorithm>

#include <jack/jack.h>
#include <jack/midiport.h>

AudioProbe::AudioProbe(const QString& name, float level) : level_(level) {
    client_ = jack_client_open(name.toUtf8().constData(), JackNoStartServer, nullptr);
    if (!client_) return;
    for (int c = 0; c < 2; ++c) {
        out_[c] = jack_port_register(
            client_, QStringLiteral("Master/audio_out %1").arg(c + 1).toUtf8().constData(),
            JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
        in_[c] =
            jack_port_register(client_, QStringLiteral("in %1").arg(c + 1).toUtf8().constData(),
                               JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    }
    mmc_ = jack_port_register(client_, "MMC in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
    heard_.resize(kPeriods);
    commands_.resize(kCommands);
    jack_set_process_callback(client_, &AudioProbe::process, this);
    jack_activate(client_);
}

AudioProbe::~AudioProbe() {
    if (!client_) return;
    jack_deactivate(client_);
    jack_client_close(client_);
}

QString AudioProbe::inputName(int channel) const {
    return QString::fromUtf8(jack_port_name(in_[channel]));
}

QString AudioProbe::outputName(int channel) const {
    return QString::fromUtf8(jack_port_name(out_[channel]));
}

std::vector<AudioProbe::Heard> AudioProbe::heard() const {
    const size_t n = std::min(count_.load(std::memory_order_acquire), kPeriods);
    return {heard_.begin(), heard_.begin() + long(n)};
}

std::vector<AudioProbe::Command> AudioProbe::commands() const {
    const size_t n = std::min(commandCount_.load(std::memory_order_acquire), kCommands);
    return {commands_.begin(), commands_.begin() + long(n)};
}

size_t AudioProbe::stale(size_t from) const {
    const auto h = heard();
    size_t stale = 0;
    for (size_t i = std::max<size_t>(from, 1); i < h.size(); ++i)
        stale += h[i].first != h[i - 1].first + 1.0f;
    return stale;
}

jack_nframes_t AudioProbe::now() const {
    return jack_frame_time(client_);
}

jack_nframes_t AudioProbe::period() const {
    return jack_get_buffer_size(client_);
}

int AudioProbe::process(jack_nframes_t frames, void* self) {
    auto* p = static_cast<AudioProbe*>(self);
    const float level = p->level_ < 0.0f ? ++p->sent_ : p->level_;
    for (int c = 0; c < 2; ++c) {
        auto* out = static_cast<float*>(jack_port_get_buffer(p->out_[c], frames));
        std::fill(out, out + frames, level);
    }
    const auto* in = static_cast<const float*>(jack_port_get_buffer(p->in_[0], frames));
    const auto* right = static_cast<const float*>(jack_port_get_buffer(p->in_[1], frames));
    const size_t n = p->count_.load(std::memory_order_relaxed);
    if (n < kPeriods) {
        p->heard_[n] = {jack_last_frame_time(p->client_), in[0], in[frames - 1], right[frames - 1]};
        p->count_.store(n + 1, std::memory_order_release);
    }
    void* midi = jack_port_get_buffer(p->mmc_, frames);
    for (uint32_t e = 0, events = jack_midi_get_event_count(midi); e < events; ++e) {
        jack_midi_event_t event;
        const size_t m = p->commandCount_.load(std::memory_order_relaxed);
        if (jack_midi_event_get(&event, midi, e) != 0 || event.size != 6 || m >= kCommands ||
            event.buffer[0] != 0xF0 || event.buffer[1] != 0x7F || event.buffer[3] != 0x06)
            continue;
        p->commands_[m] = {jack_last_frame_time(p->client_), event.buffer[4]};
        p->commandCount_.store(m + 1, std::memory_order_release);
    }
    return 0;
}

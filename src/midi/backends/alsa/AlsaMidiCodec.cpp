#include "midi/backends/alsa/AlsaMidiCodec.h"

#include <alsa/asoundlib.h>

namespace {
constexpr size_t kMaxEvent = 0x10000;
}

std::unique_ptr<AlsaMidiCodec> AlsaMidiCodec::create() {
    snd_midi_event_t* encoder = nullptr;
    snd_midi_event_t* decoder = nullptr;
    if (snd_midi_event_new(kMaxEvent, &encoder) < 0) return nullptr;
    if (snd_midi_event_new(kMaxEvent, &decoder) < 0) {
        snd_midi_event_free(encoder);
        return nullptr;
    }
    snd_midi_event_no_status(decoder, 1); // full status bytes, as senders wrote them
    return std::make_unique<AlsaMidiCodec>(encoder, decoder);
}

AlsaMidiCodec::AlsaMidiCodec(snd_midi_event_t* encoder, snd_midi_event_t* decoder)
    : encoder_(encoder), decoder_(decoder) {}

AlsaMidiCodec::~AlsaMidiCodec() {
    snd_midi_event_free(encoder_);
    snd_midi_event_free(decoder_);
}

void AlsaMidiCodec::encode(const uint8_t* data, size_t length,
                           const std::function<void(const snd_seq_event_t&)>& onEvent) {
    snd_midi_event_reset_encode(encoder_);
    size_t pos = 0;
    while (pos < length) {
        snd_seq_event_t ev;
        snd_seq_ev_clear(&ev);
        const long used = snd_midi_event_encode(encoder_, data + pos, long(length - pos), &ev);
        if (used <= 0) break;
        pos += size_t(used);
        if (ev.type != SND_SEQ_EVENT_NONE) onEvent(ev);
    }
}

size_t AlsaMidiCodec::decode(const snd_seq_event_t& event, uint8_t* out, size_t capacity) {
    snd_midi_event_reset_decode(decoder_);
    const long n = snd_midi_event_decode(decoder_, out, long(capacity), &event);
    return n > 0 ? size_t(n) : 0;
}

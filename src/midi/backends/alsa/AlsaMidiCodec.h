#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

typedef struct snd_seq_event snd_seq_event_t;
typedef struct snd_midi_event snd_midi_event_t;

// MIDI bytes to sequencer events and back, with ALSA's own encoder and decoder (which need no
// sequencer device). Owns both; not thread-safe: one user at a time.
class AlsaMidiCodec {
public:
    // Null when ALSA cannot make the encoder or decoder.
    static std::unique_ptr<AlsaMidiCodec> create();
    ~AlsaMidiCodec();
    AlsaMidiCodec(const AlsaMidiCodec&) = delete;
    AlsaMidiCodec& operator=(const AlsaMidiCodec&) = delete;

    // Calls `onEvent` with each complete event the bytes make, in order.
    void encode(const uint8_t* data, size_t length,
                const std::function<void(const snd_seq_event_t&)>& onEvent);
    // The bytes of one event, with full status bytes; 0 when it is not a MIDI message.
    size_t decode(const snd_seq_event_t& event, uint8_t* out, size_t capacity);

    // Takes both; create() is the way to get one.
    AlsaMidiCodec(snd_midi_event_t* encoder, snd_midi_event_t* decoder);

private:
    snd_midi_event_t* encoder_;
    snd_midi_event_t* decoder_;
};

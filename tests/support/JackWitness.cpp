#include "support/JackWitness.h"

#include <jack/jack.h>

JackWitness::JackWitness() {
    sender_ = jack_client_open("witness out", JackNoStartServer, nullptr);
    receiver_ = jack_client_open("witness in", JackNoStartServer, nullptr);
    if (!sender_ || !receiver_) return;
    out_ = jack_port_register(sender_, "count", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    in_ = jack_port_register(receiver_, "count", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    jack_set_process_callback(sender_, &JackWitness::send, this);
    jack_set_process_callback(receiver_, &JackWitness::receive, this);
    connected_ = out_ && in_ && jack_activate(sender_) == 0 && jack_activate(receiver_) == 0 &&
                 jack_connect(sender_, jack_port_name(out_), jack_port_name(in_)) == 0;
}

JackWitness::~JackWitness() {
    for (jack_client_t* client : {receiver_, sender_})
        if (client) {
            jack_deactivate(client);
            jack_client_close(client);
        }
}

int JackWitness::send(jack_nframes_t frames, void* self) {
    auto* w = static_cast<JackWitness*>(self);
    auto* out = static_cast<float*>(jack_port_get_buffer(w->out_, frames));
    w->count_ += 1.0f;
    for (jack_nframes_t i = 0; i < frames; ++i)
        out[i] = w->count_;
    return 0;
}

int JackWitness::receive(jack_nframes_t frames, void* self) {
    auto* w = static_cast<JackWitness*>(self);
    const float count = static_cast<const float*>(jack_port_get_buffer(w->in_, frames))[0];
    // The first period and the ones before the connection carry nothing to compare.
    if (w->last_ > 0.0f && count != w->last_ + 1.0f)
        w->stale_.fetch_add(1, std::memory_order_release);
    w->last_ = count;
    w->periods_.fetch_add(1, std::memory_order_release);
    return 0;
}

#include "audio/AudioRouter.h"

#include "audio/AudioLog.h"
#include "midi/MainMidi.h"
#include "midi/NextSongTrigger.h"

#include <QRegularExpression>
#include <algorithm>
#include <cstring>

#include <jack/jack.h>
#include <jack/midiport.h>

namespace {
const char* const kInstanceNames[] = {"Gigmora DAW", "Gigmora Second DAW"};
// MIDI Machine Control to every device (7F): Stop, Play.
constexpr jack_midi_data_t kMmcStop[] = {0xF0, 0x7F, 0x7F, 0x06, 0x01, 0xF7};
constexpr jack_midi_data_t kMmcPlay[] = {0xF0, 0x7F, 0x7F, 0x06, 0x02, 0xF7};

// "Cues/audio_out 10" after "Cues/audio_out 9": the number a port name ends with is compared
// as a number.
bool portOrder(const QString& a, const QString& b) {
    const auto split = [](const QString& name) {
        qsizetype digits = name.size();
        while (digits > 0 && name[digits - 1].isDigit())
            --digits;
        return std::pair{QStringView(name).left(digits),
                         QStringView(name).mid(digits).toLongLong()};
    };
    const auto [prefixA, numberA] = split(a);
    const auto [prefixB, numberB] = split(b);
    return prefixA != prefixB ? prefixA < prefixB : numberA < numberB;
}

bool marked(const QString& port, const QStringList& marks) {
    return std::any_of(marks.begin(), marks.end(),
                       [&](const QString& mark) { return !mark.isEmpty() && port.contains(mark); });
}
} // namespace

AudioRouter::AudioRouter(Options options)
    : options_(std::move(options)),
      mix_(std::max(2,
                    int(std::min<qsizetype>(options_.outputs.size(), RouterMix::kMaxChannels)))) {}

AudioRouter::~AudioRouter() = default;

QString AudioRouter::inputName(int instance, int channel) {
    return QStringLiteral("%1 in %2").arg(QLatin1String(kInstanceNames[instance])).arg(channel + 1);
}

QString AudioRouter::mmcName(int instance) {
    return QStringLiteral("MMC to %1").arg(QLatin1String(kInstanceNames[instance]));
}

QString AudioRouter::outputName(int channel) {
    return QStringLiteral("out %1").arg(channel + 1);
}

Result<> AudioRouter::start() {
    if (client_) return {};
    jack_status_t status;
    JackClient client(jack_client_open(
        kClientName, jack_options_t(JackNoStartServer | JackUseExactName), &status));
    if (!client) {
        // A server that is there refuses an exact name only when another client has it.
        if (status & JackServerFailed)
            return {Failure::Code::NoServer, QStringLiteral("no JACK server")};
        return {Failure::Code::NameTaken,
                QStringLiteral("another \"%1\" is on the JACK server").arg(kClientName)};
    }
    bool made = true;
    for (int c = 0; c < channels(); ++c) {
        for (int i = 0; i < RouterMix::kInstances; ++i)
            made &= (inputs_[size_t(i)][size_t(c)] = jack_port_register(
                         client.get(), inputName(i, c).toUtf8().constData(),
                         JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0)) != nullptr;
        made &= (outputs_[size_t(c)] = jack_port_register(
                     client.get(), outputName(c).toUtf8().constData(), JACK_DEFAULT_AUDIO_TYPE,
                     JackPortIsOutput | JackPortIsTerminal, 0)) != nullptr;
    }
    trigger_ =
        jack_port_register(client.get(), kTriggerInput, JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
    if (!made || !trigger_)
        return {Failure::Code::Refused, QStringLiteral("its ports could not be made")};
    const jack_nframes_t rate = jack_get_sample_rate(client.get());
    mix_.setFades(options_.crossfade, uint32_t(uint64_t(options_.spilloverMs) * rate / 1000));
    jack_set_process_callback(client.get(), &AudioRouter::process, this);
    jack_set_port_registration_callback(client.get(), &AudioRouter::portRegistered, this);
    jack_set_port_connect_callback(client.get(), &AudioRouter::portConnected, this);
    if (jack_activate(client.get()) != 0) {
        return {Failure::Code::Refused, QStringLiteral("the JACK server refused to run it")};
    }
    client_ = std::move(client);
    if (options_.transport != Transport::Keep) {
        Result<> transport = startTransport();
        if (!transport) {
            client_.reset();
            return transport;
        }
    }
    connectOutputs();
    followTriggerSources();
    return {};
}

Result<> AudioRouter::startTransport() {
    JackClient client(jack_client_open(
        kTransportName, jack_options_t(JackNoStartServer | JackUseExactName), nullptr));
    if (!client) {
        return {Failure::Code::NameTaken,
                QStringLiteral("another \"%1\" is on the JACK server").arg(kTransportName)};
    }
    for (int i = 0; i < RouterMix::kInstances; ++i) {
        mmc_[size_t(i)] = jack_port_register(client.get(), mmcName(i).toUtf8().constData(),
                                             JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        if (!mmc_[size_t(i)]) {
            return {Failure::Code::Refused, QStringLiteral("its ports could not be made")};
        }
    }
    told_ = swaps_.load(std::memory_order_acquire);
    jack_set_process_callback(client.get(), &AudioRouter::tell, this);
    if (jack_activate(client.get()) != 0) {
        return {Failure::Code::Refused, QStringLiteral("the JACK server refused to run it")};
    }
    transport_ = std::move(client);
    return {};
}

void AudioRouter::connectOutputs() {
    for (int c = 0; c < channels() && c < options_.outputs.size(); ++c) {
        const QString to = options_.outputs[c].trimmed();
        if (to.isEmpty()) continue;
        if (jack_connect(client_.get(), jack_port_name(outputs_[size_t(c)]),
                         to.toUtf8().constData()) != 0)
            qCWarning(lcAudio).noquote() << "Could not connect" << outputName(c) << "to" << to;
    }
}

bool AudioRouter::routeInstance(int instance, const QString& dawClient, bool listen) {
    if (!client_ || instance < 0 || instance >= RouterMix::kInstances) return false;
    const QString pattern = QStringLiteral("^%1:").arg(QRegularExpression::escape(dawClient));
    QStringList all = takeJackNames(jack_get_ports(client_.get(), pattern.toUtf8().constData(),
                                                   JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput));
    std::sort(all.begin(), all.end(), portOrder);
    QStringList mains; // by channel
    for (const QString& mark : options_.mainOutputs)
        for (const QString& port : all)
            if (!mark.isEmpty() && port.contains(mark) && !mains.contains(port)) mains << port;
    if (mains.isEmpty()) return false;
    if (mains.size() > channels() && !toldSurplus_[size_t(instance)])
        qCWarning(lcAudio).noquote()
            << dawClient << "has" << mains.size() << "main outputs and the router" << channels()
            << "channels (outputs in Gigmora.conf): the rest are connected to nothing.";
    toldSurplus_[size_t(instance)] = mains.size() > channels();
    for (const QString& name : all) {
        const qsizetype channel = mains.indexOf(name);
        if (channel < 0 && marked(name, options_.directOutputs)) continue;
        const QByteArray from = name.toUtf8();
        jack_port_t* port = jack_port_by_name(client_.get(), from.constData());
        if (!port) continue;
        const QByteArray mine =
            listen && channel >= 0 && channel < channels()
                ? QByteArray(jack_port_name(inputs_[size_t(instance)][size_t(channel)]))
                : QByteArray();
        // What the session brought along would make this instance heard past the router.
        for (const QString& to : takeJackNames(jack_port_get_all_connections(client_.get(), port)))
            if (to.toUtf8() != mine)
                jack_disconnect(client_.get(), from.constData(), to.toUtf8().constData());
        if (!mine.isEmpty() && !jack_port_connected_to(port, mine.constData()))
            jack_connect(client_.get(), from.constData(), mine.constData());
    }
    if (jack_port_t* mmc = mmc_[size_t(instance)]) {
        const QString mmcIn =
            QStringLiteral("^%1:MMC in$").arg(QRegularExpression::escape(dawClient));
        for (const QString& to :
             takeJackNames(jack_get_ports(client_.get(), mmcIn.toUtf8().constData(),
                                          JACK_DEFAULT_MIDI_TYPE, JackPortIsInput)))
            if (!jack_port_connected_to(mmc, to.toUtf8().constData()))
                jack_connect(client_.get(), jack_port_name(mmc), to.toUtf8().constData());
    }
    return true;
}

void AudioRouter::confine(const QString& client, const QStringList& peers,
                          const QStringList& others, const QString& twin) {
    if (!client_) return;
    jack_client_t* c = client_.get();
    const QString pattern = QStringLiteral("^%1:").arg(QRegularExpression::escape(client));
    for (const QString& name :
         takeJackNames(jack_get_ports(c, pattern.toUtf8().constData(), nullptr, 0))) {
        jack_port_t* port = jack_port_by_name(c, name.toUtf8().constData());
        if (!port) continue;
        const bool output = jack_port_flags(port) & JackPortIsOutput;
        const bool speakers = output &&
                              !std::strcmp(jack_port_type(port), JACK_DEFAULT_AUDIO_TYPE) &&
                              !marked(name, options_.directOutputs);
        const QString mine = twin.isEmpty() ? QString() : twin + ':' + name.section(':', 1);
        for (const QString& peer : takeJackNames(jack_port_get_all_connections(c, port))) {
            const QString peerClient = peer.section(':', 0, 0);
            const bool other = others.contains(peerClient);
            // A keyboard on its input, its MIDI out to a module: they stay.
            if (peers.contains(peerClient) || (!other && !speakers)) continue;
            const QByteArray from = (output ? name : peer).toUtf8();
            const QByteArray to = (output ? peer : name).toUtf8();
            jack_disconnect(c, from.constData(), to.constData());
            if (!other || mine.isEmpty()) continue;
            const QByteArray twinFrom = (output ? mine : peer).toUtf8();
            const QByteArray twinTo = (output ? peer : mine).toUtf8();
            jack_connect(c, twinFrom.constData(), twinTo.constData());
        }
    }
}

void AudioRouter::followTriggerSources() {
    if (!client_) return;
    // Derived from the graph rather than remembered: the MIDI engine's connection keeper is
    // the one memory of what feeds the virtual input, and the router copies whatever it holds.
    const QByteArray virtualInput =
        QByteArray(MainMidi::kClientName) + ':' + MainMidi::kVirtualInputName;
    jack_port_t* source = jack_port_by_name(client_.get(), virtualInput.constData());
    const QStringList wanted =
        source ? takeJackNames(jack_port_get_all_connections(client_.get(), source))
               : QStringList();
    const QStringList had = takeJackNames(jack_port_get_all_connections(client_.get(), trigger_));
    const char* mine = jack_port_name(trigger_);
    for (const QString& from : had)
        if (!wanted.contains(from)) jack_disconnect(client_.get(), from.toUtf8().constData(), mine);
    for (const QString& from : wanted)
        if (!had.contains(from)) jack_connect(client_.get(), from.toUtf8().constData(), mine);
}

bool AudioRouter::listensTo(int instance) const {
    return client_ && instance >= 0 && instance < RouterMix::kInstances &&
           jack_port_connected(inputs_[size_t(instance)][0]) > 0;
}

bool AudioRouter::hasInput(int instance) const {
    if (!client_ || instance < 0 || instance >= RouterMix::kInstances) return false;
    // With a transport to tell, the DAW must also hear it.
    const jack_port_t* mmc = mmc_[size_t(instance)];
    return jack_port_connected(inputs_[size_t(instance)][0]) > 0 &&
           (!mmc || jack_port_connected(mmc) > 0);
}

bool AudioRouter::hasPorts(const QString& client) const {
    if (!client_) return false;
    const QString pattern = QStringLiteral("^%1:").arg(QRegularExpression::escape(client));
    return !takeJackNames(jack_get_ports(client_.get(), pattern.toUtf8().constData(), nullptr, 0))
                .isEmpty();
}

jack_nframes_t AudioRouter::sampleRate() const {
    return client_ ? jack_get_sample_rate(client_.get()) : 0;
}

void AudioRouter::portRegistered(jack_port_id_t, int, void* self) {
    static_cast<AudioRouter*>(self)->graphChanged_.store(true);
}

void AudioRouter::portConnected(jack_port_id_t, jack_port_id_t, int, void* self) {
    static_cast<AudioRouter*>(self)->graphChanged_.store(true);
}

int AudioRouter::process(jack_nframes_t frames, void* self) {
    auto* router = static_cast<AudioRouter*>(self);
    RouterMix::Inputs in;
    RouterMix::Outputs out;
    const size_t channels = size_t(router->channels());
    for (size_t i = 0; i < RouterMix::kInstances; ++i)
        for (size_t c = 0; c < channels; ++c)
            in[i][c] =
                static_cast<const float*>(jack_port_get_buffer(router->inputs_[i][c], frames));
    for (size_t c = 0; c < channels; ++c)
        out[c] = static_cast<float*>(jack_port_get_buffer(router->outputs_[c], frames));
    const int target = router->mix_.process(in, out, frames, router->triggeredIn(frames));
    if (target != router->heard_)
        router->swaps_.store(((router->swaps_.load(std::memory_order_relaxed) >> 2) + 1) << 2 |
                                 uint32_t(target),
                             std::memory_order_release);
    router->heard_ = target;
    return 0;
}

bool AudioRouter::triggeredIn(jack_nframes_t frames) const {
    void* buffer = jack_port_get_buffer(trigger_, frames);
    for (uint32_t e = 0, events = jack_midi_get_event_count(buffer); e < events; ++e) {
        jack_midi_event_t event;
        if (jack_midi_event_get(&event, buffer, e) == 0 &&
            isNextSongTrigger(event.buffer, event.size))
            return true;
    }
    return false;
}

int AudioRouter::tell(jack_nframes_t frames, void* self) {
    auto* router = static_cast<AudioRouter*>(self);
    void* mmc[RouterMix::kInstances];
    for (size_t i = 0; i < RouterMix::kInstances; ++i) {
        mmc[i] = jack_port_get_buffer(router->mmc_[i], frames);
        jack_midi_clear_buffer(mmc[i]);
    }
    // The DAWs run after this client and before the router: a swap the router made in the
    // last period reaches them at the first sample of this one.
    const uint32_t swap = router->swaps_.load(std::memory_order_acquire);
    if (swap == router->told_) return 0;
    router->told_ = swap;
    const size_t to = swap & 3u;
    if (router->options_.transport == Transport::StopOld)
        jack_midi_event_write(mmc[1 - to], 0, kMmcStop, sizeof kMmcStop);
    else
        jack_midi_event_write(mmc[to], 0, kMmcPlay, sizeof kMmcPlay);
    return 0;
}

#include "daw/DawPortKeeper.h"

#include "daw/DawLog.h"
#include "platform/Guard.h"

#include <QRegularExpression>

#include <jack/jack.h>
#include <jack/uuid.h>

DawPortKeeper::DawPortKeeper(std::function<QStringList()> clients, QObject* parent)
    : QObject(parent), clients_(std::move(clients)) {
    timer_.setInterval(kLookMs);
    connect(&timer_, &QTimer::timeout, this,
            [this] { guarded("DawPortKeeper::look", [this] { look(); }); });
    timer_.start();
}

DawPortKeeper::~DawPortKeeper() {
    client_.reset(); // no callback may come while the rest goes
}

bool DawPortKeeper::hasPorts(const QString& client) const {
    if (!client_) return true;
    const QString pattern = QStringLiteral("^%1:").arg(QRegularExpression::escape(client));
    return !takeJackNames(jack_get_ports(client_.get(), pattern.toUtf8().constData(), nullptr, 0))
                .isEmpty();
}

bool DawPortKeeper::start() {
    if (client_) return true;
    JackClient client(jack_client_open(kClientName, jack_options_t(JackNoStartServer), nullptr));
    if (!client) return false;
    jack_set_port_registration_callback(client.get(), &DawPortKeeper::changed, this);
    jack_set_client_registration_callback(client.get(), &DawPortKeeper::clientChanged, this);
    jack_set_port_connect_callback(client.get(), &DawPortKeeper::connectionChanged, this);
    jack_on_shutdown(client.get(), &DawPortKeeper::serverGone, this);
    if (jack_activate(client.get()) != 0) return false;
    client_ = std::move(client);
    return true;
}

void DawPortKeeper::changed(jack_port_id_t, int, void* self) {
    static_cast<DawPortKeeper*>(self)->changed_.store(true);
}

void DawPortKeeper::clientChanged(const char* name, int registered, void* self) {
    auto* keeper = static_cast<DawPortKeeper*>(self);
    keeper->changed_.store(true);
    if (registered) return;
    // JACK's notification thread, not its process thread: it may post to the main thread.
    QMetaObject::invokeMethod(
        keeper,
        [keeper, client = QString::fromUtf8(name)] {
            guarded("DawPortKeeper::clientGone", [&] { keeper->gone_ << client; });
        },
        Qt::QueuedConnection);
}

void DawPortKeeper::connectionChanged(jack_port_id_t, jack_port_id_t, int, void* self) {
    static_cast<DawPortKeeper*>(self)->changed_.store(true);
}

void DawPortKeeper::serverGone(void* self) {
    static_cast<DawPortKeeper*>(self)->serverGone_.store(true);
}

void DawPortKeeper::look() {
    // Without a server (not up yet, or gone since), it is asked again at every look.
    if (serverGone_.exchange(false)) {
        client_.reset();
        changed_.store(true);
    }
    if (!client_ && (++looksWithout_ % kRetryLooks != 0 || !start())) return;
    if (!changed_.exchange(false)) return;
    jack_client_t* c = client_.get();
    for (const QString& client : clients_()) {
        const QString pattern = QStringLiteral("^%1:").arg(QRegularExpression::escape(client));
        const QStringList ports = takeJackNames(
            jack_get_ports(c, pattern.toUtf8().constData(), JACK_DEFAULT_MIDI_TYPE, 0));
        for (const QString& name : ports) {
            jack_port_t* port = jack_port_by_name(c, name.toUtf8().constData());
            if (!port) continue;
            const jack_uuid_t uuid = jack_port_uuid(port);
            const QStringList now = takeJackNames(jack_port_get_all_connections(c, port));
            Port& known = ports_[name];
            // JACK may give a port made anew its old identity: its going tells it too.
            const bool anew = (known.uuid != 0 && known.uuid != uuid) || gone_.contains(client);
            QStringList keep = now, away;
            for (const QString& peer : std::as_const(known.peers)) {
                if (now.contains(peer)) continue;
                const bool there = jack_port_by_name(c, peer.toUtf8().constData()) != nullptr;
                if (!there) {
                    keep << peer; // kept for its return
                    away << peer;
                    continue;
                }
                // Undone by someone while both stayed: forgotten; otherwise made again.
                if (!anew && !known.peersAway.contains(peer)) continue;
                const bool input = jack_port_flags(port) & JackPortIsInput;
                const QByteArray from = (input ? peer : name).toUtf8();
                const QByteArray to = (input ? name : peer).toUtf8();
                if (jack_connect(c, from.constData(), to.constData()) == 0) {
                    qCInfo(lcDaw).noquote()
                        << "Connected" << from << "to" << to << "again, as before the song change.";
                    keep << peer;
                }
            }
            known = {uuid, keep, away};
        }
        // A client closed counts as made anew until its ports are back.
        if (!ports.isEmpty()) gone_.removeAll(client);
    }
}

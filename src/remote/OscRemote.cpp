#include "remote/OscRemote.h"

#include "osc/OscLog.h"
#include "osc/OscMessage.h"

#include <QDateTime>
#include <cmath>

namespace {
qint64 now() {
    return QDateTime::currentMSecsSinceEpoch();
}
} // namespace

OscRemote::OscRemote(QObject* parent)
    : QObject(parent), endpoint_(QStringLiteral("OSC"), lcOsc,
                                 [this](const OscMessage& m, const QHostAddress& from,
                                        quint16 port) { handle(m, from, port); }) {
    endpoint_.accepts = [this](const QHostAddress& from) {
        return std::any_of(allow_.begin(), allow_.end(),
                           [&](const QHostAddress& a) { return a.isEqual(from); });
    };
}

Result<> OscRemote::listen(quint16 port, const QStringList& allow) {
    allow_.clear();
    for (const QString& a : allow) {
        const QHostAddress address(a);
        if (address.isNull())
            qCWarning(lcOsc).noquote() << "OSC: the allowed address" << a << "is not an address.";
        else
            allow_ << address;
    }
    Result<> bound = endpoint_.bind(QHostAddress::Any, port);
    if (bound)
        qCInfo(lcOsc).noquote() << "OSC control listens on port" << endpoint_.port();
    else
        qCWarning(lcOsc).noquote()
            << "OSC control cannot listen on port" << port << ":" << bound.failure().words;
    return bound;
}

void OscRemote::handle(const OscMessage& m, const QHostAddress& from, quint16 port) {
    const qint64 t = now();
    clients_.removeIf([&](const Client& c) { return t - c.seenMs > kClientMemoryMs; });
    auto known = std::find_if(clients_.begin(), clients_.end(), [&](const Client& c) {
        return c.port == port && c.address.isEqual(from);
    });
    if (known == clients_.end()) {
        clients_.append({from, port, t});
        sendStage(from, port); // a new surface learns where the set is at once
    } else {
        known->seenMs = t;
    }
    if (m.path == QLatin1String("/gigmora/next")) {
        emit nextRequested();
    } else if (m.path == QLatin1String("/gigmora/previous")) {
        emit previousRequested();
    } else if (m.path == QLatin1String("/gigmora/song")) {
        // TouchOSC sends numbers as floats.
        const QVariant n = m.args.value(0);
        const bool number = n.typeId() == QMetaType::Int || n.typeId() == QMetaType::Double;
        if (number && std::isfinite(n.toDouble()) && n.toDouble() >= 0 && n.toDouble() <= 127)
            emit songRequested(int(std::lround(n.toDouble())));
        else
            ignore(QStringLiteral("/gigmora/song without a number from 0 to 127"));
    } else if (m.path != QLatin1String("/gigmora/ping")) {
        ignore(QStringLiteral("an unknown message, ") + m.path);
    }
}

void OscRemote::publish(const StageSnapshot& stage) {
    if (stage == stage_) return;
    stage_ = stage;
    const qint64 t = now();
    for (const Client& c : std::as_const(clients_))
        if (t - c.seenMs <= kClientMemoryMs) sendStage(c.address, c.port);
}

void OscRemote::sendStage(const QHostAddress& to, quint16 port) {
    const std::pair<const char*, QString> parts[] = {{"/gigmora/setlist", stage_.setlist},
                                                     {"/gigmora/current", stage_.current},
                                                     {"/gigmora/next", stage_.next},
                                                     {"/gigmora/timeleft", stage_.timeLeft},
                                                     {"/gigmora/state", stage_.state}};
    for (const auto& [path, text] : parts)
        endpoint_.send({QString::fromLatin1(path), {text}}, to, port);
    // The same state in fields, for a surface that acts on it rather than shows it.
    const DawStatus& d = stage_.daw;
    endpoint_.send({QStringLiteral("/gigmora/daw"),
                    {DawStatus::name(d.phase), d.song, DawStatus::name(d.reason), d.code, d.refused,
                     DawStatus::name(d.standby), d.next}},
                   to, port);
}

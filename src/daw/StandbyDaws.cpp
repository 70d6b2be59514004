#include "daw/StandbyDaws.h"

#include "daw/DawLog.h"
#include "platform/Guard.h"

#include <QFileInfo>

namespace {
QString songName(const QString& path) {
    return QFileInfo(path).fileName();
}
} // namespace

QString StandbyDaws::clientId(int instance) {
    return instance == 0 ? QStringLiteral("Gigmora DAW") : QStringLiteral("Gigmora DAW B");
}

StandbyDaws::StandbyDaws(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)), router_(options_.router) {
    spillover_.setSingleShot(true);
    spillover_.setInterval(int(options_.router.spilloverMs));
    connect(&spillover_, &QTimer::timeout, this,
            [this] { guarded("StandbyDaws::prepareStandby", [this] { prepareStandby(); }); });
    for (int i = 0; i < kInstances; ++i) {
        SessionManager::Options o = options_.daw;
        o.clientId = clientId(i);
        if (i == 1) {
            o.name = (o.name.isEmpty() ? SessionManager::nameOf(o.program) : o.name) +
                     QStringLiteral(" B");
            if (!o.placeholder.isEmpty()) o.placeholder += QStringLiteral(" B");
            // Announced, the standby takes the song after the stage's.
            o.stageSong = [this] {
                const QString stage = options_.daw.stageSong ? options_.daw.stageSong() : QString();
                return stage.isEmpty() || !options_.songAfter ? QString()
                                                              : options_.songAfter(stage);
            };
        }
        auto daw = std::make_unique<SessionManager>(std::move(o));
        connect(daw.get(), &SessionManager::loaded, this, [this, i](const QString& path, qint64) {
            guarded("StandbyDaws::loaded", [&] { loadedIn(i, path); });
        });
        connect(daw.get(), &SessionManager::stateChanged, this,
                [this] { guarded("StandbyDaws::state", [this] { updateState(); }); });
        connect(daw.get(), &SessionManager::songInDaw, this, [this, i](const QString& path) {
            if (i == active_) emit songInDaw(path);
        });
        daws_[size_t(i)] = std::move(daw);
    }
}

StandbyDaws::~StandbyDaws() {
    shutdown();
}

void StandbyDaws::start() {
    QString error;
    routed_ = router_.start(&error);
    if (!routed_)
        qCWarning(lcDaw).noquote() << "The audio router could not start (" + error +
                                          "): one DAW plays, without a standby.";
    daws_[0]->start();
    if (routed_) daws_[1]->start();
    updateState();
}

bool StandbyDaws::standbyUp() const {
    return routed_ && daws_[size_t(standby())]->isUp();
}

bool StandbyDaws::swapsAtOnce(const QString& path) const {
    const SessionManager& s = *daws_[size_t(standby())];
    return standbyUp() && !spillover_.isActive() && s.pendingPath().isEmpty() && !path.isEmpty() &&
           s.loadedPath() == path;
}

void StandbyDaws::open(const QString& path) {
    SessionManager& current = *daws_[size_t(active_)];
    if (!standbyUp()) {
        current.open(path); // one DAW, as without a standby
        return;
    }
    if (current.loadedPath() == path && current.pendingPath().isEmpty()) {
        wanted_.clear(); // it plays already
        updateState();
        return;
    }
    if (swapsAtOnce(path)) {
        swap();
        return;
    }
    wanted_ = path;
    // Still ringing out: it takes the song when it is silent.
    if (!spillover_.isActive()) daws_[size_t(standby())]->open(path);
    updateState();
}

void StandbyDaws::loadedIn(int instance, const QString& path) {
    if (routed_) {
        // A session brings its own connections along; only the router may hear a DAW.
        if (!router_.routeInstance(instance, clientId(instance), options_.mainOutputs))
            qCWarning(lcDaw).noquote()
                << clientId(instance) << "shows no main outputs named" << options_.mainOutputs;
    }
    if (instance == standby() && !wanted_.isEmpty() && path == wanted_)
        swap();
    else
        updateState();
}

void StandbyDaws::swap() {
    router_.swapTo(standby());
    active_ = standby();
    wanted_.clear();
    qCInfo(lcDaw).noquote() << "Swapped to" << clientId(active_) << "with"
                            << songName(daws_[size_t(active_)]->loadedPath());
    updateState();
    spillover_.start();
}

QString StandbyDaws::nextSong() const {
    if (!wanted_.isEmpty()) return wanted_;
    const QString current = daws_[size_t(active_)]->loadedPath();
    return options_.songAfter && !current.isEmpty() ? options_.songAfter(current) : QString();
}

void StandbyDaws::prepareStandby() {
    const QString current = daws_[size_t(active_)]->loadedPath();
    const QString next = nextSong();
    SessionManager& s = *daws_[size_t(standby())];
    // After the last song the standby idles; a session is never open in both.
    if (next.isEmpty() || next == current || s.loadedPath() == next || s.pendingPath() == next)
        return updateState();
    s.open(next);
    updateState();
}

void StandbyDaws::updateState() {
    const SessionManager& a = *daws_[size_t(active_)];
    const SessionManager& s = *daws_[size_t(standby())];
    QString text = a.loadedPath().isEmpty() || !a.pendingPath().isEmpty() || a.placeholderLoaded()
                       ? a.stateText()
                       : songName(a.loadedPath()) + QStringLiteral(" playing");
    if (routed_) {
        if (!s.isUp())
            text += QStringLiteral(" · standby: ") + s.stateText();
        else if (!s.pendingPath().isEmpty())
            text += QStringLiteral(" · next: %1 loading…").arg(songName(s.pendingPath()));
        else if (!s.loadedPath().isEmpty() && s.loadedPath() == nextSong())
            text += QStringLiteral(" · next: %1 ready").arg(songName(s.loadedPath()));
    }
    if (text == state_) return;
    state_ = text;
    emit stateChanged(text);
}

void StandbyDaws::shutdown() {
    spillover_.stop();
    for (auto& daw : daws_)
        if (daw) daw->shutdown();
}

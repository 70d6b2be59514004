#include "daw/StandbyDaws.h"

#include "daw/DawLog.h"
#include "platform/Guard.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QStandardPaths>

namespace {
QString songName(const QString& path) {
    return QFileInfo(path).fileName();
}

// The second instance starts from a copy of the musician's configuration of that DAW (the
// folders named after its program, "ardour7" for Ardour), made once; then it keeps its own.
void seedConfigHome(const QStringList& program, const QString& home) {
    if (program.isEmpty() || QFileInfo::exists(home)) return;
    QDir().mkpath(home);
    const QString prefix = SessionManager::nameOf(program).toLower();
    const QDir own(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
    for (const QString& folder : own.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!folder.toLower().startsWith(prefix)) continue;
        const QString from = own.filePath(folder);
        QDirIterator files(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString file = files.next();
            const QString to = home + '/' + folder + '/' + QDir(from).relativeFilePath(file);
            QDir().mkpath(QFileInfo(to).path());
            QFile::copy(file, to);
        }
    }
}
} // namespace

// Neither name begins with the other: Ardour takes every port whose name begins with its own
// client's name for one of its own, and would handle the other instance's ports as its own.
QString StandbyDaws::clientId(int instance) {
    return instance == 0 ? QStringLiteral("Gigmora DAW") : QStringLiteral("Gigmora Second DAW");
}

StandbyDaws::StandbyDaws(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)), router_(options_.router) {
    spillover_.setSingleShot(true);
    spillover_.setInterval(int(options_.router.spilloverMs));
    connect(&spillover_, &QTimer::timeout, this,
            [this] { guarded("StandbyDaws::prepareStandby", [this] { prepareStandby(); }); });
    // A DAW registers its ports again after a load, later than its answer, and brings the
    // session's connections along: they are cut as soon as they appear.
    graph_.setInterval(100);
    connect(&graph_, &QTimer::timeout, this, [this] {
        guarded("StandbyDaws::route", [this] {
            const bool changed = router_.takeGraphChange();
            if (changed) {
                quiet_.start();
                // A source connected to the virtual input, now or after a reconnect.
                router_.followTriggerSources();
            }
            for (int i = 0; i < kInstances; ++i) {
                if (changed || listened(i) != router_.listensTo(i)) route(i);
            }
            for (int i = 0; i < kInstances; ++i)
                restartIfCutOff(i);
            // JACK reports a connection before every view of it shows it: looked at each time.
            swapIfReady();
        });
    });
    for (int i = 0; i < kInstances; ++i) {
        SessionManager::Options o = options_.daw;
        o.clientId = clientId(i);
        if (i == 1) {
            o.name = (o.name.isEmpty() ? SessionManager::nameOf(o.program) : o.name) +
                     QStringLiteral(" B");
            if (!o.placeholder.isEmpty()) o.placeholder += QStringLiteral(" B");
            // The DAW writes its configuration as it goes: the second one gets a home of its
            // own, so that neither overwrites the other's.
            const QString home = configHome(i);
            seedConfigHome(o.program, home);
            o.environment << QStringLiteral("XDG_CONFIG_HOME=") + home;
        }
        // Announced, or back from a death, an instance takes the song its role asks for: the
        // stage's when it is heard, the next one when it stands by.
        o.stageSong = [this, i] { return i == active_ ? stageSongNow() : standbySong(); };
        o.heard = [this, i] { return i == active_; };
        o.standby = [this, i] { return i != active_; };
        auto daw = std::make_unique<SessionManager>(std::move(o));
        connect(daw.get(), &SessionManager::loaded, this, [this, i](const QString& path, qint64) {
            guarded("StandbyDaws::loaded", [&] { loadedIn(i, path); });
        });
        connect(daw.get(), &SessionManager::cannotLoad, this,
                [this, i](const QString& path, const QString& reason) {
                    guarded("StandbyDaws::cannotLoad", [&] { cannotLoad(i, path, reason); });
                });
        connect(daw.get(), &SessionManager::adopted, this, [this, i](const QString& path) {
            if (i == active_) emit adopted(path);
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
    quiet_.start();
    // Taken over after a crash, the instance that was heard stays heard: the other holds the
    // next song.
    if (!options_.daw.runtimeFolder.isEmpty() && routed_ &&
        SessionManager::recordedHeard(daws_[1]->recordFile()) &&
        !SessionManager::recordedHeard(daws_[0]->recordFile())) {
        active_ = 1;
        router_.swapTo(1);
    }
    daws_[0]->start();
    if (routed_) {
        daws_[1]->start();
        graph_.start();
    }
    updateState();
}

bool StandbyDaws::standbyUp() const {
    return routed_ && daws_[size_t(standby())]->isUp();
}

bool StandbyDaws::swapsAtOnce(const QString& path) const {
    const SessionManager& s = *daws_[size_t(standby())];
    return standbyUp() && !spillover_.isActive() && s.pendingPath().isEmpty() && !path.isEmpty() &&
           s.loadedPath() == path && heard(standby());
}

bool StandbyDaws::heard(int instance) const {
    // A DAW answers a load before it has registered its ports again (Ardour does): the ports
    // connected now may be about to go. Only once the server has been quiet for a moment do
    // the connected ones stay.
    const QElapsedTimer& loaded = loadedAt_[size_t(instance)];
    return router_.hasInput(instance) && loaded.isValid() && loaded.elapsed() >= kSettleMs &&
           quiet_.elapsed() >= kQuietMs;
}

void StandbyDaws::swapIfReady() {
    if (!wanted_.isEmpty() && swapsAtOnce(wanted_))
        swap();
    else
        updateState();
}

void StandbyDaws::open(const QString& path) {
    SessionManager& current = *daws_[size_t(active_)];
    // A song that could not load is refused once, with the reason; the next recall tries again.
    const bool refused = refused_.contains(path) && !said_.contains(path);
    if (!refused) {
        refused_.remove(path);
        said_.remove(path);
        notice_.clear();
        noticeSong_.clear();
    }
    if (router_.target() != active_) {
        // The trigger swapped by itself, in real time: this is its recall.
        if (!refused && swapsAtOnce(path)) return swap();
        router_.swapTo(active_); // it was another song's: the current one sounds on
    }
    if (refused) return refuse(path);
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
    if (!spillover_.isActive()) openInStandby(path);
    updateState();
}

void StandbyDaws::loadedIn(int instance, const QString& path) {
    loadedAt_[size_t(instance)].start();
    if (routed_ && !route(instance))
        qCInfo(lcDaw).noquote() << clientId(instance) << "shows no main outputs named"
                                << options_.mainOutputs << "yet";
    if (instance == standby() && path == wanted_)
        swapIfReady();
    else
        updateState();
}

void StandbyDaws::cannotLoad(int instance, const QString& path, const QString& reason) {
    refused_.insert(path, reason);
    refusedWhy_.insert(path, daws_[size_t(instance)]->status().reason);
    // A recall waiting for it is refused now; a song the stage is not on yet is skipped.
    if (instance == standby() && path == wanted_) {
        wanted_.clear();
        refuse(path);
    } else if (instance == active_) {
        refused_.remove(path); // the recall itself was of it: said by that DAW
    }
    updateState();
}

void StandbyDaws::refuse(const QString& path) {
    said_.insert(path);
    notice_ = QStringLiteral("%1 cannot load: %2").arg(songName(path), refused_.value(path));
    noticeSong_ = path;
    qCWarning(lcDaw).noquote() << notice_ + "; the song that plays goes on.";
    updateState();
}

bool StandbyDaws::listened(int instance) const {
    if (instance == active_ || instance == router_.target() || router_.audible(instance) ||
        spillover_.isActive())
        return true;
    const SessionManager& daw = *daws_[size_t(instance)];
    const QElapsedTimer& loaded = loadedAt_[size_t(instance)];
    // Joined only once the server has been quiet for a moment after its load, and then kept.
    return daw.isUp() && daw.pendingPath().isEmpty() && !daw.loadedPath().isEmpty() &&
           loaded.isValid() && loaded.elapsed() >= kSettleMs &&
           (router_.listensTo(instance) || quiet_.elapsed() >= kQuietMs);
}

bool StandbyDaws::route(int instance) {
    // A session brings its own connections along; only the router may hear a DAW.
    return router_.routeInstance(instance, clientId(instance), options_.mainOutputs,
                                 listened(instance));
}

void StandbyDaws::openInStandby(const QString& path) {
    SessionManager& daw = *daws_[size_t(standby())];
    // Let go before the load begins: a loading DAW runs late, and the router would wait for it.
    loadedAt_[size_t(standby())].invalidate();
    route(standby());
    daw.open(path);
}

void StandbyDaws::restartIfCutOff(int instance) {
    // A DAW the JACK server has shut out (Ardour says "JACK HALTED") lives on without a port
    // and is never heard again: it is ended and comes back with its song.
    SessionManager& daw = *daws_[size_t(instance)];
    QElapsedTimer& loaded = loadedAt_[size_t(instance)];
    if (!daw.isUp() || !daw.pendingPath().isEmpty() || !loaded.isValid() ||
        loaded.elapsed() < kCutOffMs || router_.hasPorts(clientId(instance)))
        return;
    loaded.invalidate();
    qCWarning(lcDaw).noquote() << clientId(instance)
                               << "has no port on the JACK server; it is started again.";
    daw.startAgain();
}

void StandbyDaws::swap() {
    router_.arm(-1);
    router_.swapTo(standby());
    active_ = standby();
    wanted_.clear();
    for (auto& daw : daws_)
        daw->rewriteRecord();
    qCInfo(lcDaw).noquote() << "Swapped to" << clientId(active_) << "with"
                            << songName(daws_[size_t(active_)]->loadedPath());
    updateState();
    spillover_.start(int(options_.router.spilloverMs));
}

QString StandbyDaws::stageSongNow() const {
    return options_.plan.current();
}

void StandbyDaws::setPlan(const StagePlan& plan) {
    options_.plan = plan;
    updateState(); // the trigger is armed for the new next song
}

QString StandbyDaws::standbySong() const {
    const SessionManager& playing = *daws_[size_t(active_)];
    QString song = nextSong();
    if (song.isEmpty() && playing.loadedPath().isEmpty())
        song = options_.plan.after(stageSongNow());
    // A session is never open in both.
    return song == playing.loadedPath() || song == playing.pendingPath() ? QString() : song;
}

QString StandbyDaws::configHome(int instance) {
    if (instance == 0) return QString(); // the musician's own
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Gigmora/") + clientId(instance);
}

QString StandbyDaws::nextSong() const {
    if (!wanted_.isEmpty()) return wanted_;
    const QString current = daws_[size_t(active_)]->loadedPath();
    QString next = options_.plan.after(current);
    // A song that cannot load is passed over: the one after it is ready for the trigger after.
    for (int skipped = 0; refused_.contains(next) && skipped < refused_.size(); ++skipped)
        next = options_.plan.after(next);
    return next == current ? QString() : next;
}

void StandbyDaws::prepareStandby() {
    // The swap may have been seen a period after the recall: the fade must end first.
    if (router_.audible(standby())) return spillover_.start(kFadePollMs);
    const QString current = daws_[size_t(active_)]->loadedPath();
    const QString next = nextSong();
    SessionManager& s = *daws_[size_t(standby())];
    // After the last song the standby idles; a session is never open in both.
    if (next.isEmpty() || next == current || s.loadedPath() == next || s.pendingPath() == next)
        return updateState();
    openInStandby(next);
    updateState();
}

void StandbyDaws::updateState() {
    using Phase = DawStatus::Phase;
    const SessionManager& a = *daws_[size_t(active_)];
    const SessionManager& s = *daws_[size_t(standby())];
    DawStatus status = a.status();
    const bool playing =
        !a.loadedPath().isEmpty() && a.pendingPath().isEmpty() && !a.placeholderLoaded();
    QString text = playing ? songName(a.loadedPath()) + QStringLiteral(" playing") : a.stateText();
    if (!notice_.isEmpty()) {
        text += QStringLiteral(" · ") + notice_;
        status.refused = songName(noticeSong_);
        status.reason = refusedWhy_.value(noticeSong_);
    } else if (routed_ && status.refused.isEmpty() && !s.status().refused.isEmpty()) {
        status.refused = s.status().refused; // the standby's, said in its part of the words
        status.reason = s.status().reason;
    }
    if (routed_) {
        if (!s.isUp()) {
            text += QStringLiteral(" · standby: ") + s.stateText();
            status.standby = s.status().phase;
        } else if (!s.pendingPath().isEmpty()) {
            text += QStringLiteral(" · next: %1 loading…").arg(songName(s.pendingPath()));
            status.standby = Phase::Loading;
            status.next = songName(s.pendingPath());
        } else if (!s.loadedPath().isEmpty() && s.loadedPath() == nextSong()) {
            const bool ready = heard(standby());
            text += (ready ? QStringLiteral(" · next: %1 ready")
                           : QStringLiteral(" · next: %1 loading…"))
                        .arg(songName(s.loadedPath()));
            status.standby = ready ? Phase::Loaded : Phase::Loading;
            status.next = songName(s.loadedPath());
        } else {
            status.standby = Phase::Ready;
        }
    }
    rearm();
    if (text == state_ && status == status_) return;
    state_ = text;
    status_ = status;
    emit stateChanged(text);
}

void StandbyDaws::rearm() {
    // The next trigger recalls the song after the stage's: if the standby holds it, heard by
    // the router, the trigger itself swaps.
    const QString next = options_.plan.next();
    router_.arm(router_.target() == active_ && swapsAtOnce(next) ? standby() : -1);
}

void StandbyDaws::shutdown() {
    spillover_.stop();
    graph_.stop();
    router_.stop();
    for (auto& daw : daws_)
        if (daw) daw->shutdown();
}

#include "daw/DawControl.h"

#include "daw/CompanionPrograms.h"
#include "daw/DawLog.h"
#include "daw/DawPortKeeper.h"
#include "daw/SessionManager.h"
#include "daw/StandbyDaws.h"
#include "library/ProgramProfile.h"
#include "library/ProjectKind.h"
#include "platform/Guard.h"

#include <QCryptographicHash>
#include <QDir>
#include <QStandardPaths>

namespace {
AudioRouter::Transport transportAtSwap(GigmoraConfig::Daw::Transport transport) {
    switch (transport) {
    case GigmoraConfig::Daw::Transport::StopOld:
        return AudioRouter::Transport::StopOld;
    case GigmoraConfig::Daw::Transport::PlayNew:
        return AudioRouter::Transport::PlayNew;
    case GigmoraConfig::Daw::Transport::Keep:
        break;
    }
    return AudioRouter::Transport::Keep;
}
} // namespace

DawControl::DawControl(QObject* parent) : QObject(parent) {
    shutOut_.setInterval(1000);
    connect(&shutOut_, &QTimer::timeout, this,
            [this] { guarded("DawControl::lookForShutOut", [this] { lookForShutOut(); }); });
}

void DawControl::lookForShutOut() {
    if (!manager_ || !ports_) return;
    const qint64 process = manager_->dawProcessId();
    if (process != std::exchange(watched_, process)) {
        hadPorts_ = false;
        misses_ = 0;
    }
    const DawStatus::Phase phase = manager_->status().phase;
    const bool settled =
        manager_->isUp() && (phase == DawStatus::Phase::Loaded || phase == DawStatus::Phase::Ready);
    // Ardour registers its ports again after a load, later than its answer, and later still
    // with heavy sessions: looked at only a while after, as the standby's instances are.
    if (!settled || manager_->loadedPath() != loadedSong_) {
        loadedSong_ = settled ? manager_->loadedPath() : QString();
        loadedFor_.restart();
        misses_ = 0;
        if (!settled) return;
    }
    if (ports_->hasPorts(manager_->clientId())) {
        hadPorts_ = true;
        misses_ = 0;
        return;
    }
    // A program that never had a port (one without JACK) is not cut off.
    if (!hadPorts_ || loadedFor_.elapsed() < StandbyPlan::kCutOffMs || ++misses_ < kShutOutLooks)
        return;
    hadPorts_ = false;
    misses_ = 0;
    qCWarning(lcDaw).noquote() << manager_->clientId()
                               << "has no port on the JACK server; it is started again.";
    manager_->startAgain();
}

void DawControl::setPlan(const StagePlan& plan) {
    plan_ = plan;
    StagePlan sessions{{}, plan.at};
    for (const QString& song : plan.order)
        sessions.order << QDir::cleanPath(projectKind_.sessionPath(song));
    if (sessions == sessions_) return;
    sessions_ = std::move(sessions);
    if (standby_) standby_->setPlan(sessions_);
}

DawControl::~DawControl() {
    shutdown();
}

void DawControl::apply(const GigmoraConfig::Daw& settings) {
    const bool managed = settings.control == GigmoraConfig::Daw::Control::SessionManager;
    const bool same = managesSessions() && settings == settings_;
    settings_ = settings;
    projectKind_ = managed ? ProgramProfile::of(settings.program()).songs : ProjectKind();
    setPlan(plan_); // the songs' projects may be other ones now
    if (managed && same) return;
    shutdown();
    if (managed) {
        SessionManager::Options options;
        options.program = settings.program();
        options.saveBeforeSwitch = settings.saveBeforeSwitch;
        options.loadTimeoutMs = settings.loadTimeoutSeconds * 1000;
        options.placeholder = placeholderPath();
        options.runtimeFolder = runtimeFolder();
        options.stageSong = [this] { return sessions_.current(); };
        options.songs = projectKind_;
        if (settings.standby) {
            StandbyDaws::Options two;
            two.daw = std::move(options);
            two.router = {settings.outputs,
                          uint32_t(settings.crossfadeSamples),
                          uint32_t(settings.spilloverMs),
                          transportAtSwap(settings.transportOnSwitch),
                          settings.mainOutputs,
                          settings.directOutputs};
            two.plan = sessions_;
            standby_ = std::make_unique<StandbyDaws>(std::move(two));
            connect(standby_.get(), &StandbyDaws::stateChanged, this, &DawControl::stateChanged);
            connect(standby_.get(), &StandbyDaws::songInDaw, this, &DawControl::songInDaw);
            connect(standby_.get(), &StandbyDaws::adopted, this, &DawControl::adopted);
            standby_->start();
        } else {
            manager_ = std::make_unique<SessionManager>(std::move(options));
            connect(manager_.get(), &SessionManager::stateChanged, this, &DawControl::stateChanged);
            connect(manager_.get(), &SessionManager::songInDaw, this, &DawControl::songInDaw);
            connect(manager_.get(), &SessionManager::adopted, this, &DawControl::adopted);
            manager_->start();
        }
        ports_ = std::make_unique<DawPortKeeper>([this] {
            QStringList clients;
            for (int i = 0; i < StandbyDaws::kInstances; ++i)
                if (SessionManager* daw = standby_ ? standby_->instance(i)
                                          : i      ? nullptr
                                                   : manager_.get())
                    clients << daw->clientIds();
            return clients;
        });
        ports_->start();
        if (!settings.standby) shutOut_.start(); // the standby looks for itself
    } else {
        // A DAW an earlier Gigmora left running would hold the audio with nobody to drive it.
        for (int i = 0; i < StandbyDaws::kInstances; ++i) {
            SessionManager::endRecordedDaw(
                SessionManager::recordFileIn(runtimeFolder(), StandbyDaws::clientId(i)),
                QStringLiteral("DAW"), this);
            CompanionPrograms::endRecorded(
                CompanionPrograms::runtimeFolderOf(runtimeFolder(), StandbyDaws::clientId(i)), {},
                this);
        }
    }
    emit stateChanged(stateText());
}

QString DawControl::placeholderPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Gigmora/Placeholder");
}

QString DawControl::runtimeFolder() {
    // One folder per library (one Gigmora runs per library), named after where it lives.
    const QByteArray library =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation).toUtf8();
    const QString key = QString::fromLatin1(
        QCryptographicHash::hash(library, QCryptographicHash::Sha1).toHex().left(12));
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) +
           QStringLiteral("/Gigmora/") + key;
}

bool DawControl::openSession(const QString& song) {
    // What the program opens: a session folder, or a patch without its extension.
    const QString path = QDir::cleanPath(projectKind_.sessionPath(song));
    if (standby_)
        standby_->open(path);
    else if (manager_)
        manager_->open(path);
    return managesSessions();
}

bool DawControl::swapsAtOnce(const QString& song) const {
    return standby_ && standby_->swapsAtOnce(QDir::cleanPath(projectKind_.sessionPath(song)));
}

SessionManager* DawControl::sessionManager() const {
    return standby_ ? standby_->instance(standby_->active()) : manager_.get();
}

void DawControl::shutdown() {
    shutOut_.stop();
    ports_.reset(); // before the DAWs go: their ports going is no change to keep
    if (standby_) standby_->shutdown();
    standby_.reset();
    if (manager_) manager_->shutdown();
    manager_.reset();
}

QString DawControl::stateText() const {
    return standby_ ? standby_->stateText() : manager_ ? manager_->stateText() : QString();
}

DawStatus DawControl::status() const {
    return standby_ ? standby_->status() : manager_ ? manager_->status() : DawStatus();
}

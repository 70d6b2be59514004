#include "daw/DawControl.h"

#include "daw/SessionManager.h"
#include "library/ProjectKind.h"

#include <QCryptographicHash>
#include <QStandardPaths>

DawControl::DawControl(QObject* parent) : QObject(parent) {}

DawControl::~DawControl() {
    shutdown();
}

void DawControl::apply(const GigmoraConfig::Daw& settings) {
    const bool managed = settings.control == GigmoraConfig::Daw::Control::SessionManager;
    const bool same = manager_ && settings.program() == settings_.program() &&
                      settings.saveBeforeSwitch == settings_.saveBeforeSwitch &&
                      settings.loadTimeoutSeconds == settings_.loadTimeoutSeconds;
    settings_ = settings;
    projectKind_.setKind(managed ? ProjectKind::Kind::SessionFolder
                                 : ProjectKind::Kind::LogicProject);
    if (managed && same) return;
    shutdown();
    if (managed) {
        SessionManager::Options options;
        options.program = settings.program();
        options.saveBeforeSwitch = settings.saveBeforeSwitch;
        options.loadTimeoutMs = settings.loadTimeoutSeconds * 1000;
        options.placeholder = placeholderPath();
        options.runtimeFolder = runtimeFolder();
        options.stageSong = stageSong_;
        manager_ = std::make_unique<SessionManager>(std::move(options));
        connect(manager_.get(), &SessionManager::stateChanged, this, &DawControl::stateChanged);
        connect(manager_.get(), &SessionManager::songInDaw, this, &DawControl::songInDaw);
        manager_->start();
    } else {
        // A DAW an earlier Gigmora left running would hold the audio with nobody to drive it.
        SessionManager::endRecordedDaw(
            SessionManager::recordFileIn(runtimeFolder(), SessionManager::Options().clientId),
            QStringLiteral("DAW"), this);
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

bool DawControl::openSession(const QString& path) {
    if (!manager_) return false;
    manager_->open(path);
    return true;
}

void DawControl::shutdown() {
    if (!manager_) return;
    manager_->shutdown();
    manager_.reset();
}

QString DawControl::stateText() const {
    return manager_ ? manager_->stateText() : QString();
}

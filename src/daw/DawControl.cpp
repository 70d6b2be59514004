#include "daw/DawControl.h"

#include "daw/SessionManager.h"
#include "library/ProjectKind.h"

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
    ProjectKind::setKind(managed ? ProjectKind::Kind::SessionFolder
                                 : ProjectKind::Kind::LogicProject);
    if (managed && same) return;
    shutdown();
    if (managed) {
        manager_ = std::make_unique<SessionManager>(SessionManager::Options{
            settings.program(), settings.saveBeforeSwitch, settings.loadTimeoutSeconds * 1000});
        connect(manager_.get(), &SessionManager::stateChanged, this, &DawControl::stateChanged);
        manager_->start();
    }
    emit stateChanged(stateText());
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

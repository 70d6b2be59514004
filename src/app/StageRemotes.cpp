#include "app/StageRemotes.h"

#include "app/AppLog.h"
#include "performance/StageRequests.h"
#include "performance/StageState.h"
#include "platform/Guard.h"
#include "remote/OscRemote.h"
#include "remote/WebRemote.h"
#include "settings/GigmoraConfig.h"

StageRemotes::StageRemotes(const Dependencies& dependencies, QObject* parent)
    : QObject(parent), d_(dependencies) {
    connect(d_.stage, &StageState::changed, this, &StageRemotes::publish);
}

StageRemotes::~StageRemotes() = default;

void StageRemotes::start() {
    startOsc();
    applyWebSettings();
}

void StageRemotes::startOsc() {
    const GigmoraConfig::Osc osc = GigmoraConfig::osc();
    if (!osc.enabled || osc_) return;
    osc_ = new OscRemote(this);
    if (!osc_->listen(quint16(osc.port), osc.allow)) return;
    connect(osc_, &OscRemote::nextRequested, d_.requests, &StageRequests::next);
    connect(osc_, &OscRemote::previousRequested, d_.requests, &StageRequests::previous);
    connect(osc_, &OscRemote::songRequested, d_.requests, &StageRequests::number);
    publish();
}

void StageRemotes::applyWebSettings() {
    GigmoraConfig::Remote remote = GigmoraConfig::remote();
    if (web_) {
        // Its pages lose their sessions; a new PIN or port takes effect at once.
        delete std::exchange(web_, nullptr);
        emit webRemoteChanged(0);
    }
    webProblem_.clear();
    if (!remote.enabled) return;
    if (remote.pin.isEmpty()) {
        remote.pin = GigmoraConfig::makePin();
        GigmoraConfig::setRemote(remote);
        qCInfo(lcApp).noquote() << "The web remote's PIN was made and stored in Gigmora.conf.";
    }
    auto* web = new WebRemote(remote.pin, {}, this);
    const QHostAddress address =
        remote.address.isEmpty() ? QHostAddress(QHostAddress::Any) : QHostAddress(remote.address);
    if (const Result<> listening = web->listen(address, quint16(remote.port)); !listening) {
        webProblem_ = QStringLiteral("The web remote cannot listen on port %1: %2")
                          .arg(remote.port)
                          .arg(listening.failure().words);
        delete web;
        return;
    }
    web_ = web;
    connect(web, &WebRemote::nextRequested, d_.requests, &StageRequests::next);
    connect(web, &WebRemote::previousRequested, d_.requests, &StageRequests::previous);
    connect(web, &WebRemote::rowRequested, d_.requests, &StageRequests::row);
    web->publish(d_.stage->snapshot());
    emit webRemoteChanged(web->port());
}

void StageRemotes::publish() {
    if (!osc_ && !web_) return;
    guarded("publishStage", [this] {
        if (osc_) osc_->publish(d_.stage->snapshot());
        if (web_) web_->publish(d_.stage->snapshot());
    });
}

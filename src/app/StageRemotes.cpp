#include "app/StageRemotes.h"

#include "app/AppLog.h"
#include "app/PerformanceView.h"
#include "daw/DawControl.h"
#include "library/ArrayController.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "performance/OscRemote.h"
#include "performance/SongRecall.h"
#include "performance/StageSnapshot.h"
#include "platform/Guard.h"
#include "platform/GuardedConnect.h"
#include "remote/WebRemote.h"
#include "settings/GigmoraConfig.h"

StageRemotes::StageRemotes(const Dependencies& dependencies, QObject* parent)
    : QObject(parent), d_(dependencies) {
    connect(d_.daw, &DawControl::stateChanged, this, &StageRemotes::schedulePublish);
    for (ArrayController* c : {d_.allSetlists, d_.currentSetlist})
        for (auto signal :
             {&ArrangedContent::selectionChanged, &ArrangedContent::arrangedObjectsChanged})
            connect(c, signal, this, &StageRemotes::schedulePublish);
}

void StageRemotes::schedulePublish() {
    // Later, and once for all the changes one step makes: a trigger's close command goes out
    // first, and the remotes hear the stage once it has settled.
    if (publishPending_ || (!osc_ && !web_)) return;
    publishPending_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            publishPending_ = false;
            publish();
        },
        Qt::QueuedConnection);
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
    SongRecall* recall = d_.recall;
    guardedConnect(osc_, &OscRemote::nextRequested, this, "runMyScriptInController",
                   [recall] { recall->runMyScriptInController(); });
    guardedConnect(osc_, &OscRemote::previousRequested, this, "reverseMyScriptInController",
                   [recall] { recall->reverseMyScriptInController(); });
    connect(osc_, &OscRemote::songRequested, this, [recall](int number) {
        guarded("runMyScriptUsingProgChangeInController", [&] {
            recall->kAsNumber = number;
            recall->runMyScriptUsingProgChangeInController();
        });
    });
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
    if (!web->listen(address, quint16(remote.port))) {
        webProblem_ = QStringLiteral("The web remote cannot listen on port %1: %2")
                          .arg(remote.port)
                          .arg(web->listenError());
        delete web;
        return;
    }
    web_ = web;
    SongRecall* recall = d_.recall;
    guardedConnect(web, &WebRemote::nextRequested, this, "runMyScriptInController",
                   [recall] { recall->runMyScriptInController(); });
    guardedConnect(web, &WebRemote::previousRequested, this, "reverseMyScriptInController",
                   [recall] { recall->reverseMyScriptInController(); });
    connect(web, &WebRemote::rowRequested, this,
            [this](int row) { guarded("goToLogicProject:", [&] { recallRow(row); }); });
    web->publish(snapshot());
    emit webRemoteChanged(web->port());
}

void StageRemotes::recallRow(int row) {
    // As a click on the row and Go to Project would.
    d_.currentSetlist->setSelectionIndex(row);
    d_.recall->goToLogicProject();
}

StageSnapshot StageRemotes::snapshot() const {
    StageSnapshot stage;
    if (ManagedObject* setlist = d_.filter->getCurrentSetlist())
        stage.setlist = setlist->stringValue("name");
    for (ManagedObject* song : d_.currentSetlist->arrangedObjects())
        stage.songs << song->stringValue("title");
    const IndexSet selected = d_.currentSetlist->selectionIndexes();
    if (!selected.isEmpty()) {
        stage.currentRow = int(selected.first());
        if (stage.currentRow < stage.songs.size()) stage.current = stage.songs.at(stage.currentRow);
    }
    stage.next = d_.stage->nextSong();
    stage.state = d_.daw->stateText();
    return stage;
}

void StageRemotes::publish() {
    if (!osc_ && !web_) return;
    guarded("publishStage", [this] {
        const StageSnapshot stage = snapshot();
        if (osc_) osc_->publish(stage);
        if (web_) web_->publish(stage);
    });
}

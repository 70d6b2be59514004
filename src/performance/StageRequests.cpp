#include "performance/StageRequests.h"

#include "library/ArrayController.h"
#include "performance/SongRecall.h"
#include "platform/Guard.h"

StageRequests::StageRequests(SongRecall* recall, ArrayController* currentSetlist, QObject* parent)
    : QObject(parent), recall_(recall), currentSetlist_(currentSetlist) {}

void StageRequests::next() {
    if (recall_) guarded("runMyScriptInController", [this] { recall_->runMyScriptInController(); });
}

void StageRequests::previous() {
    if (recall_)
        guarded("reverseMyScriptInController", [this] { recall_->reverseMyScriptInController(); });
}

void StageRequests::selected() {
    if (recall_) guarded("goToLogicProject:", [this] { recall_->goToLogicProject(); });
}

void StageRequests::row(int row) {
    if (!recall_ || !currentSetlist_) return;
    guarded("goToLogicProject:", [&] {
        currentSetlist_->setSelectionIndex(row);
        recall_->goToLogicProject();
    });
}

void StageRequests::number(int number) {
    if (!recall_) return;
    guarded("runMyScriptUsingProgChangeInController", [&] {
        recall_->kAsNumber = number;
        recall_->runMyScriptUsingProgChangeInController();
    });
}

void StageRequests::recordedNumber() {
    if (recall_)
        guarded("runMyScriptUsingProgChangeInController",
                [this] { recall_->runMyScriptUsingProgChangeInController(); });
}

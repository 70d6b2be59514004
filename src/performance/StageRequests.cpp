#include "performance/StageRequests.h"

#include "performance/SongRecall.h"
#include "performance/StagePosition.h"
#include "platform/Guard.h"

StageRequests::StageRequests(SongRecall* recall, StagePosition* position, QObject* parent)
    : QObject(parent), recall_(recall), position_(position) {}

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
    if (!recall_ || !position_) return;
    guarded("goToLogicProject:", [&] {
        position_->select(row);
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

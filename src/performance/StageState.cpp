#include "performance/StageState.h"

#include "daw/DawControl.h"
#include "daw/SessionCheck.h"
#include "library/ArrayController.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "performance/StagePosition.h"
#include "platform/Guard.h"

#include <algorithm>

namespace {
void addTimeLeft(StageSnapshot& stage) {
    // With no length known anywhere in the set (Logic projects) there is nothing to plan with.
    if (std::none_of(stage.seconds.cbegin(), stage.seconds.cend(),
                     [](const std::optional<double>& s) { return s.has_value(); }))
        return;
    double left = 0;
    int unknown = 0;
    for (qsizetype i = std::max(stage.currentRow, 0); i < stage.seconds.size(); ++i)
        stage.seconds[i] ? void(left += *stage.seconds[i]) : void(++unknown);
    stage.secondsLeft = left;
    stage.timeLeft = QStringLiteral("Time left: ") + SessionCheck::length(left);
    if (unknown > 0) stage.timeLeft += " (" + SongLengths::withoutLength(unknown) + ")";
}
} // namespace

StageState::StageState(const Dependencies& d, QObject* parent)
    : QObject(parent), filter_(d.filter), currentSetlist_(d.currentSetlist), position_(d.position),
      daw_(d.daw) {
    connect(d.daw, &DawControl::stateChanged, this, &StageState::schedule);
    connect(d.position, &StagePosition::planChanged, this, &StageState::schedule);
    for (ArrayController* c : {d.allSetlists, d.currentSetlist})
        for (auto signal :
             {&ArrangedContent::selectionChanged, &ArrangedContent::arrangedObjectsChanged})
            connect(c, signal, this, &StageState::schedule);
}

void StageState::schedule() {
    // Once for all the changes one step makes, after it.
    if (std::exchange(pending_, true)) return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            pending_ = false;
            guarded("publishStage", [this] { publish(); });
        },
        Qt::QueuedConnection);
}

void StageState::publish() {
    StageSnapshot stage = build();
    if (stage == snapshot_) return;
    snapshot_ = std::move(stage);
    emit changed(snapshot_);
}

StageSnapshot StageState::build() {
    StageSnapshot stage;
    if (filter_)
        if (ManagedObject* setlist = filter_->getCurrentSetlist())
            stage.setlist = setlist->stringValue("name");
    const bool sessions = daw_ && daw_->projectKind().kind() == ProjectKind::Kind::SessionFolder;
    if (currentSetlist_)
        for (ManagedObject* song : currentSetlist_->arrangedObjects()) {
            stage.songs << song->stringValue("title");
            stage.seconds << lengths_.of(song->stringValue("path"), sessions);
        }
    if (position_ && position_->row() < stage.songs.size()) {
        stage.currentRow = position_->row();
        stage.current = stage.songs.value(stage.currentRow);
        const int next = position_->nextRow();
        if (next >= 0 && next < stage.songs.size())
            stage.next = QStringLiteral("Next: ") + stage.songs.at(next);
        else if (stage.currentRow >= 0 && stage.currentRow == stage.songs.size() - 1)
            stage.next = QStringLiteral("Last song");
    }
    addTimeLeft(stage);
    if (daw_) {
        stage.state = daw_->stateText();
        stage.daw = daw_->status();
    }
    return stage;
}

#include "performance/StagePosition.h"

#include "daw/DawControl.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ProjectKind.h"
#include "platform/Guard.h"
#include "platform/TableView.h"

#include <QDir>

StagePosition::StagePosition(ArrayController* currentSetlist, TableView* setlistTable,
                             DawControl* daw, QObject* parent)
    : QObject(parent), currentSetlist_(currentSetlist), setlistTable_(setlistTable), daw_(daw) {
    for (auto signal :
         {&ArrangedContent::selectionChanged, &ArrangedContent::arrangedObjectsChanged})
        connect(currentSetlist, signal, this,
                [this] { guarded("stagePlan", [this] { update(); }); });
    // The table may show no row where its setlist avoids an empty selection: the row the
    // musician sees is the one a trigger moves on from.
    if (setlistTable)
        connect(setlistTable, &TableView::selectionDidChange, this,
                [this] { guarded("stagePlan", [this] { update(); }); });
    connect(daw, &DawControl::songInDaw, this, [this](const QString& song) {
        guarded("followDawSong", [&] { follow(song, false); });
    });
    // A DAW that played on through a crash of Gigmora says where the show is, whatever the
    // start-up chose.
    connect(daw, &DawControl::adopted, this,
            [this](const QString& song) { guarded("followDawSong", [&] { follow(song, true); }); });
    update();
}

bool StagePosition::select(qsizetype row) {
    // The table keeps the setlist's selection with its own, and refuses a row that is none.
    if (setlistTable_) return setlistTable_->selectRowIndexes({row}, false);
    return currentSetlist_ && currentSetlist_->setSelectionIndex(row);
}

void StagePosition::update() {
    StagePlan plan;
    if (currentSetlist_)
        for (ManagedObject* song : currentSetlist_->arrangedObjects())
            plan.order << song->stringValue("path");
    if (setlistTable_) {
        plan.at = int(setlistTable_->selectedRow());
    } else if (currentSetlist_) {
        const IndexSet selected = currentSetlist_->selectionIndexes();
        if (!selected.isEmpty()) plan.at = int(selected.first());
    }
    if (plan.at >= plan.order.size()) plan.at = -1;
    if (plan == plan_) return;
    plan_ = std::move(plan);
    if (daw_) daw_->setPlan(plan_);
    emit planChanged(plan_);
}

void StagePosition::follow(const QString& path, bool adopted) {
    if (!daw_ || (!adopted && row() >= 0)) return;
    for (int at = 0; at < plan_.order.size(); ++at)
        if (QDir::cleanPath(daw_->projectKind().sessionPath(plan_.order.at(at))) ==
            QDir::cleanPath(path))
            return void(select(at));
}

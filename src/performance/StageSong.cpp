#include "performance/StageSong.h"

#include "daw/DawControl.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ProjectKind.h"
#include "platform/Guard.h"
#include "platform/TableView.h"

#include <QDir>

StageSong::StageSong(ArrayController* currentSetlist, TableView* setlistTableView, DawControl* daw,
                     QObject* parent)
    : QObject(parent), currentSetlist_(currentSetlist), setlistTableView_(setlistTableView),
      daw_(daw) {
    daw->setStageSong([this] { return path(); });
    connect(daw, &DawControl::songInDaw, this,
            [this](const QString& song) { guarded("followDawSong", [&] { follow(song); }); });
}

QString StageSong::path() const {
    if (!currentSetlist_ || !daw_) return {};
    const QList<ManagedObject*> songs = currentSetlist_->arrangedObjects();
    if (songs.isEmpty()) return {};
    const IndexSet selected = currentSetlist_->selectionIndexes();
    const qsizetype row = selected.isEmpty() ? 0 : selected.first();
    if (row < 0 || row >= songs.size()) return {};
    return daw_->projectKind().projectPath(songs.at(row)->stringValue("path"));
}

void StageSong::follow(const QString& path) {
    if (!currentSetlist_ || !setlistTableView_ || !daw_ || setlistTableView_->selectedRow() >= 0)
        return;
    const QList<ManagedObject*> songs = currentSetlist_->arrangedObjects();
    for (qsizetype row = 0; row < songs.size(); ++row) {
        if (QDir::cleanPath(daw_->projectKind().projectPath(songs.at(row)->stringValue("path"))) !=
            QDir::cleanPath(path))
            continue;
        setlistTableView_->selectRowIndexes({row}, false);
        currentSetlist_->setSelectionIndex(row);
        return;
    }
}

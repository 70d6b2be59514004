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
    daw->setSongAfter([this](const QString& song) { return songAfter(song); });
    connect(daw, &DawControl::songInDaw, this, [this](const QString& song) {
        guarded("followDawSong", [&] { follow(song, false); });
    });
    // A DAW that played on through a crash of Gigmora says where the show is, whatever the
    // start-up chose.
    connect(daw, &DawControl::adopted, this,
            [this](const QString& song) { guarded("followDawSong", [&] { follow(song, true); }); });
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

QString StageSong::songAfter(const QString& song) const {
    if (!currentSetlist_ || !daw_) return {};
    const QList<ManagedObject*> songs = currentSetlist_->arrangedObjects();
    const auto pathAt = [&](qsizetype row) {
        return QDir::cleanPath(daw_->projectKind().projectPath(songs.at(row)->stringValue("path")));
    };
    // Where the stage stands when it is that song (a setlist may play a song twice), else
    // where the song first stands.
    const IndexSet selected = currentSetlist_->selectionIndexes();
    const qsizetype at = selected.isEmpty() ? -1 : selected.first();
    if (at >= 0 && at + 1 < songs.size() && pathAt(at) == QDir::cleanPath(song))
        return pathAt(at + 1);
    for (qsizetype row = 0; row + 1 < songs.size(); ++row)
        if (pathAt(row) == QDir::cleanPath(song)) return pathAt(row + 1);
    return {};
}

void StageSong::follow(const QString& path, bool adopted) {
    if (!currentSetlist_ || !setlistTableView_ || !daw_ ||
        (!adopted && setlistTableView_->selectedRow() >= 0))
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

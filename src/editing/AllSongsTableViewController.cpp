#include "editing/AllSongsTableViewController.h"

#include "editing/EditingLog.h"

#include "library/ArrayController.h"
#include "library/FetchRequest.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/ProjectKind.h"
#include "library/ProjectRecords.h"
#include "library/TransferRecords.h"
#include "platform/Alerts.h"
#include "platform/DraggingInfo.h"
#include "platform/OpenPanel.h"
#include "platform/PathUtilities.h"
#include "platform/RangeError.h"
#include "platform/TableColumn.h"
#include "platform/TableView.h"

#include <QSet>
#include <QWidget>

namespace {
QString titleFor(const QString& path) {
    return PathUtilities::deletingPathExtension(PathUtilities::lastPathComponent(path));
}

ManagedObject* songAt(const QList<ManagedObject*>& songs, qsizetype row) {
    return RangeError::checkedAt(songs, row);
}
} // namespace

AllSongsTableViewController::AllSongsTableViewController(const Dependencies& d, QObject* parent)
    : QObject(parent),
      projectKind_(d.library.projectKind ? *d.library.projectKind : ProjectKind::logicProjects()),
      context_(d.library.context), allSongs_(d.library.allSongs), filter_(d.library.filter),
      allSongsTableView(d.allSongsTableView), songDetailsTableView(d.songDetailsTableView),
      midiMessageTableView(d.midiMessageTableView),
      setDetailControlsEnabled(d.setDetailControlsEnabled),
      updateAllSongDetailView(d.updateAllSongDetailView) {
    if (allSongs_) allSongs_->fetch();
    refreshRows();
    mutableFilteredArray = filteredArray;
}

QList<TableColumn> AllSongsTableViewController::columns() {
    TableColumn number{"midiIn", "#", true, TableColumn::Cell::Integer};
    number.minimum = 0;
    number.maximum = 127;
    number.invalidReason = QStringLiteral("A program change is a whole number from 0 to 127.");
    number.width = 48;
    TableColumn title{"title", "Title", true, TableColumn::Cell::Text, Qt::ElideMiddle};
    TableColumn midiOut{"midiOut", "MIDI Out", true, TableColumn::Cell::CheckBox};
    midiOut.width = 80;
    return {number, title, midiOut};
}

void AllSongsTableViewController::refreshRows() {
    songsToCheck = allSongs_ ? allSongs_->arrangedObjects() : QList<ManagedObject*>();
    filteredArray = filter_ ? filter_->uniqueByPath(songsToCheck)
                            : LibraryFilter::removeDuplicatesInArray(songsToCheck);
}

qsizetype AllSongsTableViewController::numberOfRowsInTableView(TableView*) {
    refreshRows();
    return filter_ ? filter_->returnFilteredArray().size() : 0;
}

QVariant AllSongsTableViewController::objectValue(TableView*, const QString& column,
                                                  qsizetype row) {
    if (row < 0 || row >= filteredArray.size()) return {};
    ManagedObject* song = filteredArray[row];
    // On every cell, so that the message table follows the list.
    if (midiMessageTableView) midiMessageTableView->reloadData();
    if (column == QLatin1String("title")) return song->value("title");
    if (column == QLatin1String("midiIn")) return song->value("midiIn");
    if (column == QLatin1String("midiOut")) return song->value("midiOutEnabled");
    return {};
}

QVariant AllSongsTableViewController::rowIdentity(TableView*, qsizetype row) {
    if (!filter_) return {};
    const QList<ManagedObject*> songs = filter_->returnFilteredArray();
    if (row < 0 || row >= songs.size()) return {};
    const QVariant path = songs[row]->value("path");
    if (path.isValid() && !path.isNull()) return path;
    return context_ ? QVariant(context_->URIRepresentation(songs[row])) : QVariant();
}

QList<ManagedObject*> AllSongsTableViewController::songsWithPath(const QVariant& path) const {
    return context_ ? ProjectRecords::of(*context_, path) : QList<ManagedObject*>();
}

ManagedObject* AllSongsTableViewController::highestNumberedSong() const {
    if (!context_) return nullptr;
    const auto found = context_->executeFetchRequest({"Song", {}, {{"midiIn", false}}, 1});
    return found.isEmpty() ? nullptr : found.first();
}

bool AllSongsTableViewController::giveNextNumber(ManagedObject* song) {
    if (ManagedObject* highest = highestNumberedSong()) {
        song->setValue("midiIn", qint32(highest->integerValue("midiIn")) + 1);
        return true;
    }
    return song->setValueIfKey("MidiIn", 1); // not a key of Song: the operation ends
}

void AllSongsTableViewController::setObjectValue(TableView*, const QVariant& value,
                                                 const QString& column, qsizetype row) {
    if (!filter_ || !context_) return;
    selectedSong = songAt(filter_->returnFilteredArray(), row);
    // A typed title is not stored here (the title column only shows).
    if (column == QLatin1String("midiIn")) {
        const qint64 number = value.toLongLong();
        const auto holders = context_->executeFetchRequest(
            {"Song", Predicate::withFormat("midiIn == %@", {number}), {}, 0});
        if (!holders.isEmpty()) {
            AlertSpec alert;
            alert.messageText =
                "Sure?\nProgram Change " + value.toString() + " is already in use..";
            alert.informativeText = "Older Songs with this number will be reassigned";
            alert.buttons = {"OK", "Cancel"};
            alert.style = AlertSpec::Style::Informational;
            if (Alerts::shared().runModal(alert) != Alerts::FirstButton) return;
            ManagedObject* highest = highestNumberedSong();
            const qint64 moved = highest ? highest->integerValue("midiIn") + 1 : 1;
            for (ManagedObject* song : holders)
                song->setValue("midiIn", moved);
        }
        for (ManagedObject* song : songsWithPath(selectedSong->value("path")))
            song->setValue("midiIn", number);
        if (allSongsTableView) allSongsTableView->reloadData();
        refreshRows();
        songTitleMutableArray.clear();
        for (ManagedObject* song : filteredArray)
            songTitleMutableArray << song->stringValue("title");
        const qsizetype at = songTitleMutableArray.indexOf(selectedSong->stringValue("title"));
        if (allSongs_) allSongs_->fetch();
        if (allSongsTableView && at >= 0) allSongsTableView->selectRowIndexes({at}, false);
    } else if (column == QLatin1String("midiOut")) {
        const bool enabled = value.toBool();
        for (ManagedObject* song : songsWithPath(selectedSong->value("path")))
            song->setValue("midiOutEnabled", enabled);
        if (setDetailControlsEnabled) setDetailControlsEnabled(enabled);
        if (songDetailsTableView) songDetailsTableView->reloadData();
    }
    if (allSongsTableView) allSongsTableView->reloadData();
}

bool AllSongsTableViewController::writeRowsWithIndexes(TableView*, const IndexSet& rows,
                                                       Pasteboard& pasteboard) {
    const QList<ManagedObject*> songs =
        filter_ ? filter_->returnFilteredArray() : QList<ManagedObject*>();
    QList<ManagedObject*> dragged;
    for (qsizetype row : rows.indexes())
        if (row >= 0 && row < songs.size()) dragged << songs[row];
    // The setlist type, which setlist tables take; never the song list's own.
    pasteboard.declareTypes({TransferRecords::setlistTableViewType});
    if (context_)
        pasteboard.setData(TransferRecords::songURIsPayload(dragged, *context_),
                           TransferRecords::setlistTableViewType);
    return true;
}

uint32_t AllSongsTableViewController::validateDrop(TableView*, DraggingInfo& info, qsizetype,
                                                   DropOperation) {
    const Pasteboard& pasteboard = info.draggingPasteboard();
    for (const QString& file : pasteboard.filenames())
        if (projectKind_.isProject(file)) return DragOperationCopy;
    return !kMyCustomAllSongsDragType.isEmpty() && pasteboard.hasType(kMyCustomAllSongsDragType)
               ? DragOperationCopy
               : DragOperationNone;
}

bool AllSongsTableViewController::addSongForPath(const QString& path) {
    if (!songsWithPath(path).isEmpty() || !context_) return true;
    ManagedObject* song = context_->insertNewObject("Song");
    if (!path.isNull()) {
        song->setValue("title", titleFor(path));
        song->setValue("path", path);
    }
    return giveNextNumber(song);
}

bool AllSongsTableViewController::acceptDrop(TableView* tableView, DraggingInfo& info,
                                             qsizetype row, DropOperation) {
    const QStringList files = info.draggingPasteboard().filenames();
    if (files.isEmpty()) return false;
    for (const QString& file : files) {
        if (!projectKind_.isProject(file)) continue; // silently skipped
        if (!addSongForPath(projectKind_.projectPath(file))) return false;
        if (allSongs_) {
            allSongs_->fetch();
            allSongs_->rearrangeObjects();
        }
        tableView->selectRowIndexes({row}, false);
        tableView->setFocus();
        if (allSongs_) allSongs_->setSelectionIndex(row);
        tableView->reloadData();
        tableView->setNeedsDisplay();
        if (updateAllSongDetailView) updateAllSongDetailView(row);
    }
    return true;
}

void AllSongsTableViewController::reloadTables() {
    if (allSongsTableView) allSongsTableView->reloadData();
    if (songDetailsTableView) songDetailsTableView->reloadData();
}

void AllSongsTableViewController::addNewSessionViaMenu() {
    const OpenPanel::Result chosen = OpenPanel::shared().runModal("Select");
    // Each chosen item replaces the last: one song per use. A cancel keeps the last use's.
    if (chosen.confirmed)
        for (const QUrl& url : chosen.urls)
            fileNameAsNSURL = url;
    if (!addSongForPath(fileNameAsNSURL.isEmpty()
                            ? QString()
                            : projectKind_.projectPath(fileNameAsNSURL.toLocalFile())))
        return;
    if (allSongs_) allSongs_->rearrangeObjects();
    reloadTables();
    if (allSongsTableView) allSongsTableView->setNeedsDisplay();
}

void AllSongsTableViewController::deleteFromAllSongsList() {
    if (!allSongs_ || allSongs_->arrangedObjects().isEmpty() || !context_) return;
    allSongs_->fetch();
    const qsizetype row = allSongsTableView ? allSongsTableView->selectedRow() : -1;
    if (row < 0) {
        qCInfo(lcSongs) << "-1 no row selected";
        return;
    }
    refreshRows();
    const QList<ManagedObject*> rows = filteredArray;
    ManagedObject* song = songAt(rows, row);
    // Every record of the project goes, the setlists' copies too.
    for (ManagedObject* record : songsWithPath(song->value("path")))
        context_->deleteObject(record);
    context_->save();
    allSongs_->fetch();
    allSongs_->rearrangeObjects();
    reloadTables();
}

void AllSongsTableViewController::deleteAllSongs() {
    AlertSpec alert;
    alert.messageText = "Delete All Projects";
    alert.informativeText = "Are you sure?";
    alert.buttons = {"OK", "Cancel"};
    alert.style = AlertSpec::Style::Informational;
    if (Alerts::shared().runModal(alert) != Alerts::FirstButton || !context_) return;
    for (ManagedObject* song : context_->executeFetchRequest({"Song", {}, {}, 0}))
        context_->deleteObject(song);
    reloadTables();
}

QList<ManagedObject*>
AllSongsTableViewController::removeDuplicatesInArray(const QList<ManagedObject*>& songs) {
    // Filters until nothing changes; the seen set outlives each pass, so a second pass drops
    // everything the first kept. Nothing uses this; it stays as it is.
    QList<ManagedObject*> current = songs;
    for (;;) {
        QList<ManagedObject*> kept;
        for (ManagedObject* s : current) {
            const QVariant value = s->value("song");
            if (seenValues_.contains(value)) continue;
            seenValues_ << value;
            kept << s;
        }
        if (kept.size() == current.size()) return kept;
        current = kept;
    }
}

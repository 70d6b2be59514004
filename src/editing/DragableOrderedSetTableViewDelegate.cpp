#include "editing/DragableOrderedSetTableViewDelegate.h"

#include "editing/TableIdentity.h"
#include "library/ArrayController.h"
#include "library/EntityDescription.h"
#include "library/FetchRequest.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/ProjectKind.h"
#include "library/ProjectRecords.h"
#include "library/TransferRecords.h"
#include "platform/DraggingInfo.h"
#include "platform/NotificationCenter.h"
#include "platform/OpenPanel.h"
#include "platform/PathUtilities.h"
#include "platform/TableView.h"

#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

QList<ManagedObject*> DragableOrderedSetTableViewDelegate::draggedObjects;
qsizetype DragableOrderedSetTableViewDelegate::draggedRowFirst = -1;
qsizetype DragableOrderedSetTableViewDelegate::draggedRowLength = 0;

namespace {
bool isTopListOfSetlistsTableView(const TableView* t) {
    return TableIdentity::isTopListOfSetlistsTableView(t);
}
bool isSetlistTableView(const TableView* t) {
    return TableIdentity::isSetlistTableView(t);
}
bool isAllSongsTableView(const TableView* t) {
    return TableIdentity::isAllSongsTableView(t);
}
} // namespace

DragableOrderedSetTableViewDelegate::DragableOrderedSetTableViewDelegate(const Dependencies& d,
                                                                         QObject* parent)
    : QObject(parent),
      projectKind_(d.library.projectKind ? *d.library.projectKind : ProjectKind::logicProjects()),
      context_(d.library.context), filter_(d.library.filter), setlistTableView(d.setlistTableView),
      arrayController(d.arrayController), allSetlistsArrayController(d.library.allSetlists),
      allSongsArrayController(d.library.allSongs), aSongsTableView(d.tables.aSongsTableView),
      myTopListOfSetlistsTableView(d.tables.myTopListOfSetlistsTableView),
      songDetailsTableView(d.tables.songDetailsTableView),
      midiMessageTableView(d.tables.midiMessageTableView), rowView(d.rowView),
      updateAllSongDetailView(d.updateAllSongDetailView),
      fileNamePopover_(new QFrame(nullptr, Qt::Popup)),
      songFileInfo_(new QLabel(fileNamePopover_)) {
    fileNamePopover_->setFrameShape(QFrame::StyledPanel);
    fileNamePopover_->setAccessibleName("Song file");
    auto* layout = new QVBoxLayout(fileNamePopover_);
    layout->addWidget(songFileInfo_);
    songFileInfo_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    songFileInfo_->setAccessibleName("Song file path");
    awakeFromNib();
}

DragableOrderedSetTableViewDelegate::~DragableOrderedSetTableViewDelegate() {
    NotificationCenter::defaultCenter().removeObserver(this);
    delete fileNamePopover_; // a top-level popup has no parent to own it
}

void DragableOrderedSetTableViewDelegate::awakeFromNib() {
    if (setlistTableView) {
        setlistTableView->registerForDraggedTypes({rowType()});
        setlistTableView->setDraggingSourceOperationMask(DragOperationMove, true);
    }
    // The file popover is a song's: only the instance serving a setlist's songs shows it.
    if (isSetlistTableView(setlistTableView))
        NotificationCenter::defaultCenter().addObserver(
            this, "rightClickNotification",
            [this](const Notification&) { fileInfoPopoverMethod(); });
}

QString DragableOrderedSetTableViewDelegate::rowType() const {
    if (!arrayController) return {};
    if (!arrayController->entityName().isEmpty()) return arrayController->entityName();
    // Rows of a relationship: the entity at its other end.
    const BindingInfo content = arrayController->infoForBinding("contentArray");
    auto* source = qobject_cast<ArrayController*>(content.observedObject);
    const QString key = content.observedKeyPath.section('.', -1);
    if (!source || !context_) return {};
    const EntityDescription* owner = context_->model().entity(source->entityName());
    const int rel = owner ? owner->relationshipIndex(key) : -1;
    return rel >= 0 ? owner->relationships()[rel].destination : QString();
}

bool DragableOrderedSetTableViewDelegate::writeRowsWithIndexes(TableView*, const IndexSet& rows,
                                                               Pasteboard& pasteboard) {
    pasteboard.declareTypes({rowType()});
    pasteboard.setData(TransferRecords::rowIndexesPayload(rows), rowType());
    return true;
}

void DragableOrderedSetTableViewDelegate::draggingSessionWillBeginAtPoint(TableView*, QPoint,
                                                                          const IndexSet& rows) {
    draggedRowFirst = rows.first();
    draggedRowLength = rows.isEmpty() ? 0 : rows.last() - rows.first() + 1;
    draggedObjects.clear();
    if (!arrayController) return;
    const QList<ManagedObject*> arranged = arrayController->arrangedObjects();
    for (qsizetype r : rows.indexes())
        if (r < arranged.size()) draggedObjects << arranged[r];
}

void DragableOrderedSetTableViewDelegate::draggingSessionEndedAtPoint(TableView*, QPoint,
                                                                      uint32_t) {
    draggedRowFirst = -1;
    draggedRowLength = 0;
    draggedObjects.clear();
}

uint32_t DragableOrderedSetTableViewDelegate::validateDrop(TableView* tableView, DraggingInfo& info,
                                                           qsizetype row, DropOperation operation) {
    TableView* source = info.draggingSource();
    if (source && source == tableView) { // a reorder
        tableView->setDropRow(row, DropOperation::Above);
        return DragOperationMove;
    }
    if (isAllSongsTableView(source)) {
        if (isSetlistTableView(tableView)) {
            tableView->setDropRow(row, DropOperation::Above);
            return DragOperationCopy;
        }
        if (isTopListOfSetlistsTableView(tableView)) {
            tableView->setDropRow(row, DropOperation::On);
            return DragOperationCopy;
        }
    } else if (isSetlistTableView(source)) {
        if (isAllSongsTableView(tableView)) {
            tableView->setDropRow(row, DropOperation::Above);
            return DragOperationNone; // songs never go back into the library
        }
        if (isTopListOfSetlistsTableView(tableView)) {
            tableView->setDropRow(row, DropOperation::On);
            return DragOperationCopy;
        }
    } else if (isTopListOfSetlistsTableView(source)) {
        tableView->setDropRow(row, DropOperation::Above);
        return DragOperationNone;
    }
    // Files: only between rows, never on one.
    const Pasteboard& pasteboard = info.draggingPasteboard();
    if (operation == DropOperation::Above && projectKind_.anyProject(pasteboard.filenames()))
        return DragOperationCopy;
    return pasteboard.hasType(TransferRecords::allsongTableViewType) ? DragOperationCopy
                                                                     : DragOperationNone;
}

bool DragableOrderedSetTableViewDelegate::acceptDrop(TableView* tableView, DraggingInfo& info,
                                                     qsizetype row, DropOperation operation) {
    TableView* source = info.draggingSource();
    if (source && source == tableView) {
        reorder(tableView, info, row);
        return true;
    }
    if (isAllSongsTableView(source) &&
        info.draggingPasteboard().hasType(TransferRecords::setlistTableViewType)) {
        if (isSetlistTableView(tableView)) return acceptSongCopy(tableView, info, row);
        if (isTopListOfSetlistsTableView(tableView)) return true; // accepted and ignored
    }
    return acceptFiles(tableView, info, row, operation);
}

void DragableOrderedSetTableViewDelegate::reorder(TableView* tableView, DraggingInfo& info,
                                                  qsizetype row) {
    if (!arrayController || draggedObjects.isEmpty()) return;
    ManagedObject* owner = arrayController->contentOwner();
    if (!owner) return;
    const QString key =
        arrayController->infoForBinding("contentArray").observedKeyPath.section('.', -1);
    OrderedRelation set = owner->mutableOrderedSetValueForKey(key);
    const qsizetype sourceRow = arrayController->arrangedObjects().indexOf(draggedObjects.first());
    const IndexSet rows =
        TransferRecords::rowIndexesFromPayload(info.draggingPasteboard().dataForType(rowType()));
    if (rows.isEmpty()) return;
    const qsizetype count = rows.count();
    const qsizetype to = rows.first() <= row ? row - count : row;
    set.moveObjectsAtIndexes(rows, to);
    tableView->beginUpdates();
    tableView->moveRowAtIndex(sourceRow, to);
    tableView->endUpdates();
    tableView->selectRowIndexes({to}, false);
}

bool DragableOrderedSetTableViewDelegate::acceptSongCopy(TableView*, DraggingInfo& info,
                                                         qsizetype row) {
    ManagedObject* setlist = getCurrentSetlist();
    if (!context_ || !setlist) return true;
    const QList<ManagedObject*> songs = TransferRecords::songsFromPayload(
        info.draggingPasteboard().dataForType(TransferRecords::setlistTableViewType), *context_);
    OrderedRelation running = setlist->mutableOrderedSetValueForKey("song");
    for (ManagedObject* dragged : songs) {
        ManagedObject* copy = context_->insertNewObject("Song");
        for (const char* field : {"title", "path", "midiIn", "midiOutChannel", "midiOutEnabled",
                                  "midiOutMessageType", "ccValue", "progOrCcNumber"})
            copy->setValue(field, dragged->value(field));
        OrderedRelation messages = copy->mutableOrderedSetValueForKey("midiMessage");
        for (ManagedObject* message : dragged->orderedObjects("midiMessage")) {
            ManagedObject* m = context_->insertNewObject("MidiMessage");
            for (const char* field : {"mMmessageType", "mMinterface", "mMchannel",
                                      "mMinterfaceUniqueID", "mMprogOrCcNumber", "mMccValue"})
                m->setValue(field, message->value(field));
            messages.addObject(m);
        }
        // Each at the same place, so several songs stand in reverse order. Past the end the
        // drop goes to the end rather than failing.
        running.insertObject(copy, std::clamp<qsizetype>(row, 0, running.count()));
    }
    context_->save();
    if (aSongsTableView) aSongsTableView->reloadData();
    if (midiMessageTableView) midiMessageTableView->reloadData();
    return true;
}

ManagedObject* DragableOrderedSetTableViewDelegate::newSong(const QString& path) {
    ManagedObject* song = context_->insertNewObject("Song");
    newSongFields(song, path);
    return song;
}

void DragableOrderedSetTableViewDelegate::selectDropRow(TableView* tableView, qsizetype row) {
    if (allSongsArrayController) {
        allSongsArrayController->fetch();
        allSongsArrayController->rearrangeObjects();
    }
    tableView->selectRowIndexes({row}, false);
    tableView->setFocus();
    if (allSongsArrayController) allSongsArrayController->setSelectionIndex(row);
    if (updateAllSongDetailView) updateAllSongDetailView(row);
    if (context_) context_->save();
}

bool DragableOrderedSetTableViewDelegate::acceptFiles(TableView* tableView, DraggingInfo& info,
                                                      qsizetype row, DropOperation operation) {
    const QStringList files = info.draggingPasteboard().filenames();
    if (files.isEmpty() || !context_) return false;
    qsizetype offset = 0; // grows for every file, projects or not
    for (const QString& dropped : files) {
        const QString file = projectKind_.projectPath(dropped);
        if (projectKind_.isProject(dropped)) {
            if (isAllSongsTableView(tableView)) {
                ManagedObject* song = newSong(file);
                // Not a key of Song: the drop ends here, the new song left in the library.
                if (!song->setValueIfKey("setLists", QVariant::fromValue(getCurrentSetlist())))
                    return false;
            } else if (isSetlistTableView(tableView) && operation == DropOperation::On) {
                ManagedObject* setlist = getCurrentSetlist();
                if (setlist && row < setlist->orderedObjects("song").size()) {
                    ManagedObject* target = setlist->orderedObjects("song")[row];
                    for (ManagedObject* record : songsWithPath(target->value("path")))
                        newSongFields(record, file);
                }
            } else if (isSetlistTableView(tableView) && operation == DropOperation::Above) {
                if (!songsWithPath(file, 1).isEmpty()) {
                    --offset;
                    selectDropRow(tableView, row);
                } else {
                    ManagedObject* song = newSong(file);
                    // Not a key of Song either: the drop ends, the song unnumbered in the
                    // library and not in the setlist.
                    if (!song->setValueIfKey("MidiIn", 0)) return false;
                }
            }
        }
        ++offset;
    }
    return true;
}

void DragableOrderedSetTableViewDelegate::newSongFields(ManagedObject* record,
                                                        const QString& path) {
    record->setValue("title",
                     PathUtilities::deletingPathExtension(PathUtilities::lastPathComponent(path)));
    record->setValue("path", path);
}

QList<ManagedObject*> DragableOrderedSetTableViewDelegate::songsWithPath(const QVariant& path,
                                                                         qsizetype limit) const {
    return context_ ? ProjectRecords::of(*context_, path, limit, true) : QList<ManagedObject*>();
}

TableRowView* DragableOrderedSetTableViewDelegate::rowViewForRow(TableView*, qsizetype) {
    return rowView;
}

ManagedObject* DragableOrderedSetTableViewDelegate::getCurrentSetlist() const {
    return filter_ ? filter_->getCurrentSetlist() : nullptr;
}

void DragableOrderedSetTableViewDelegate::addingSongViaMenu() {
    const OpenPanel::Result chosen = OpenPanel::shared().runModal("Select");
    if (chosen.confirmed && context_)
        for (const QUrl& url : chosen.urls) {
            fileNameAsNSURL = url;
            const QString path = projectKind_.projectPath(url.toLocalFile());
            if (!songsWithPath(path, 1).isEmpty()) continue; // already in the library
            ManagedObject* song = newSong(path);
            if (!song->setValueIfKey("MidiIn", 0)) return; // not a key of Song: ends, unsaved
        }
    if (context_) context_->save();
}

void DragableOrderedSetTableViewDelegate::addNewSetlist() {
    if (allSetlistsArrayController) allSetlistsArrayController->add();
}

void DragableOrderedSetTableViewDelegate::removeSelectedSetlist() {
    if (!allSetlistsArrayController || !myTopListOfSetlistsTableView) return;
    // No check for a missing selection: the range error ends the command.
    allSetlistsArrayController->removeObjectAtArrangedObjectIndex(
        myTopListOfSetlistsTableView->selectedRow());
}

void DragableOrderedSetTableViewDelegate::removeFromCurrentSetlist() {
    if (!arrayController || !setlistTableView || arrayController->arrangedObjects().isEmpty())
        return;
    arrayController->removeObjectAtArrangedObjectIndex(setlistTableView->selectedRow());
}

void DragableOrderedSetTableViewDelegate::deleteFromAllSongsListAndCurrentSetlist() {
    if (!arrayController || !setlistTableView || !context_) return;
    const qsizetype selected = setlistTableView->selectedRow();
    if (arrayController->arrangedObjects().isEmpty() || selected < 0) return;
    ManagedObject* song = arrayController->arrangedObjects()[selected];
    for (ManagedObject* record : songsWithPath(song->value("path")))
        context_->deleteObject(record);
    context_->save();
    arrayController->rearrangeObjects();
    const qsizetype count = arrayController->arrangedObjects().size();
    if (count > 0)
        setlistTableView->selectRowIndexes({selected < count ? selected : count - 1}, false);
}

void DragableOrderedSetTableViewDelegate::fileInfoPopoverMethod() {
    QRect anchor;
    qsizetype row = -1;
    if (setlistTableView) {
        row = setlistTableView->selectedRow();
        if (row >= 0) {
            const QRect cell =
                setlistTableView->visualRect(setlistTableView->model()->index(int(row), 0));
            anchor = QRect(setlistTableView->viewport()->mapToGlobal(cell.topLeft()), cell.size());
        }
    }
    fileNamePopover_->move(anchor.bottomLeft()); // on the rectangle's lower edge
    if (arrayController && row >= 0 && row < arrayController->arrangedObjects().size()) {
        songFileInfo_->setText(arrayController->arrangedObjects()[row]->stringValue("path"));
        songFileInfo_->adjustSize();
        fileNamePopover_->adjustSize();
    }
    fileNamePopover_->show();
}

void DragableOrderedSetTableViewDelegate::closePopover() {
    fileNamePopover_->hide();
}

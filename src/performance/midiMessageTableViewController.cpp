#include "performance/midiMessageTableViewController.h"

#include "library/ArrayController.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/ProjectRecords.h"
#include "midi/MainMidi.h"
#include "platform/RangeError.h"
#include "platform/TableColumn.h"
#include "platform/TableView.h"

#include <QWidget>

midiMessageTableViewController::midiMessageTableViewController(const Dependencies& d,
                                                               QObject* parent)
    : QObject(parent), midiMessageObjectContext(d.context),
      allSongsArrayController(d.allSongsArrayController), allSongsDetailView(d.allSongsDetailView),
      midiMessageTableView(d.midiMessageTableView), engine(d.engine),
      returnFilteredArray(d.returnFilteredArray), filter(d.filter), shownModeView(d.shownModeView),
      songDetailsView(d.songDetailsView) {}

QList<TableColumn> midiMessageTableViewController::columns() {
    TableColumn type{"messagetype", "Type", true, TableColumn::Cell::PopUp};
    type.items = {"Program Change", "Control Change"};
    TableColumn interface { "interface", "Destination", true, TableColumn::Cell::PopUp };
    TableColumn channel{"channel", "Ch", true, TableColumn::Cell::Integer};
    channel.minimum = 0;
    channel.maximum = 16;
    channel.invalidReason = QStringLiteral("A channel is a whole number from 0 to 16.");
    channel.width = 44;
    TableColumn number{"progorccnumber", "Number", true, TableColumn::Cell::Integer};
    TableColumn value{"ccvalue", "Value", true, TableColumn::Cell::Integer};
    for (TableColumn* c : {&number, &value}) {
        c->minimum = 0;
        c->maximum = 127;
        c->invalidReason = QStringLiteral("A MIDI number is a whole number from 0 to 127.");
        c->width = 68;
    }
    return {type, interface, channel, number, value};
}

ManagedObject* midiMessageTableViewController::selectedSong() {
    if (allSongsArrayController) allSongsArrayController->fetch();
    songsToCheck = allSongsArrayController ? allSongsArrayController->arrangedObjects()
                                           : QList<ManagedObject*>();
    filteredArray = filter ? filter->uniqueByPath(songsToCheck)
                           : LibraryFilter::removeDuplicatesInArray(songsToCheck);
    return RangeError::checkedAt(filteredArray, allSongsDetailView->selectedRow());
}

QList<ManagedObject*> midiMessageTableViewController::recordsOfPath(ManagedObject* song) const {
    if (!midiMessageObjectContext) return {};
    return ProjectRecords::of(*midiMessageObjectContext, song->value("path"));
}

qsizetype midiMessageTableViewController::numberOfRowsInTableView(TableView*) {
    // Only the view shown now counts: after a visit to song details, editing shows none.
    masterSubview = shownModeView ? shownModeView() : nullptr;
    if (!masterSubview || masterSubview != songDetailsView) return 0;
    if (allSongsArrayController) allSongsArrayController->fetch();
    if (!allSongsDetailView || allSongsDetailView->selectedRow() < 0) return 0;
    selectedSongMidiMessages = selectedSong()->orderedObjects("midiMessage");
    return selectedSongMidiMessages.size();
}

QVariant midiMessageTableViewController::objectValue(TableView*, const QString& column,
                                                     qsizetype row) {
    if (!allSongsDetailView || allSongsDetailView->selectedRow() < 0 || !returnFilteredArray)
        return {};
    ManagedObject* song =
        RangeError::checkedAt(returnFilteredArray(), allSongsDetailView->selectedRow());
    midiMessageToReturn = RangeError::checkedAt(song->orderedObjects("midiMessage"), row);
    if (!engine) return {};
    // The engine has no such refresh: the cell ends here, empty.
    if (!engine->perform("populateNameCopyArrayForDestination")) return {};
    const QStringList destinations = engine->mNameCopyArrayForDest;
    if (column == QLatin1String("messagetype")) return midiMessageToReturn->value("mMmessageType");
    if (column == QLatin1String("channel")) return midiMessageToReturn->value("mMchannel");
    if (column == QLatin1String("progorccnumber"))
        return midiMessageToReturn->value("mMprogOrCcNumber");
    if (column == QLatin1String("ccvalue")) return midiMessageToReturn->value("mMccValue");
    if (column != QLatin1String("interface")) return QStringLiteral("test");
    const int index = engine->returnMidiDeviceForDestinationUsingUniqueID(
        MIDIUniqueID(midiMessageToReturn->integerValue("mMinterfaceUniqueID")));
    if (index > 99) return {}; // shown as "device removed"
    return index < destinations.size() ? QVariant(index) : QVariant();
}

void midiMessageTableViewController::setObjectValue(TableView*, const QVariant& value,
                                                    const QString& column, qsizetype row) {
    if (!allSongsDetailView || !returnFilteredArray) return;
    ManagedObject* song =
        RangeError::checkedAt(returnFilteredArray(), allSongsDetailView->selectedRow());
    for (ManagedObject* record : recordsOfPath(song)) {
        ManagedObject* m = RangeError::checkedAt(record->orderedObjects("midiMessage"), row);
        // Tested one after another, as the columns always were.
        if (column == QLatin1String("messagetype")) m->setValue("mMmessageType", value.toInt());
        if (column == QLatin1String("interface")) {
            m->setValue("mMinterface", value);
            // Not offered by the engine: the edit ends here, unsaved.
            if (engine && !engine->perform("getUniqueIDOfMidiDestination:")) return;
        }
        if (column == QLatin1String("channel")) m->setValue("mMchannel", value.toInt());
        if (column == QLatin1String("progorccnumber"))
            m->setValue("mMprogOrCcNumber", value.toInt());
        if (column == QLatin1String("ccvalue")) m->setValue("mMccValue", value.toInt());
    }
    saveAndReload();
}

void midiMessageTableViewController::addMidiMessage() {
    if (!midiMessageObjectContext || !allSongsDetailView) return;
    for (ManagedObject* record : recordsOfPath(selectedSong())) {
        ManagedObject* m = midiMessageObjectContext->insertNewObject("MidiMessage");
        m->setValue("mMmessageType", 0);
        m->setValue("mMinterface", 100); // above 99: no device chosen
        m->setValue("mMchannel", 0);
        m->setValue("mMprogOrCcNumber", 0);
        m->setValue("mMccValue", 0);
        record->mutableOrderedSetValueForKey("midiMessage").addObject(m);
    }
    saveAndReload();
}

void midiMessageTableViewController::removeMidiMessage() {
    if (!midiMessageObjectContext || !allSongsDetailView || !midiMessageTableView) return;
    const QList<ManagedObject*> records = recordsOfPath(selectedSong());
    const qsizetype row = midiMessageTableView->selectedRow();
    for (ManagedObject* record : records)
        if (!record->orderedObjects("midiMessage").isEmpty())
            midiMessageObjectContext->deleteObject(
                RangeError::checkedAt(record->orderedObjects("midiMessage"), row));
    // Not saved here: the deletion reaches the file with the next save.
    if (midiMessageTableView) midiMessageTableView->reloadData();
}

void midiMessageTableViewController::saveAndReload() {
    if (midiMessageObjectContext) midiMessageObjectContext->save();
    if (midiMessageTableView) midiMessageTableView->reloadData();
}

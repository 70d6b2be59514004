#include "app/SongDetailsScreen.h"

#include "app/AppLog.h"
#include "app/SongDetailsView.h"
#include "editing/AllSongsTableViewController.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/ProjectRecords.h"
#include "performance/midiMessageTableViewController.h"
#include "platform/Error.h"
#include "platform/GuardedConnect.h"
#include "platform/TableColumn.h"
#include "platform/TableView.h"

SongDetailsScreen::SongDetailsScreen(const Dependencies& d, QObject* parent)
    : QObject(parent), view_(d.view), context_(d.library.context), filter_(d.library.filter),
      songList_(d.songList),
      messages_(new midiMessageTableViewController(
          {d.library.context, d.library.allSongs, d.view->songPicker(), d.view->messageTable(),
           d.engine, [filter = filter_] { return filter->returnFilteredArray(); }, filter_,
           d.shownModeView, d.view},
          this)) {
    // The same rows as the song list, but here a click picks the song.
    TableView* picker = view_->songPicker();
    TableColumn number{"midiIn", "#"};
    number.width = 48;
    picker->addTableColumn(number);
    picker->addTableColumn("title", "Title");
    picker->setDataSource(songList_);
    TableView* table = view_->messageTable();
    for (const TableColumn& column : midiMessageTableViewController::columns())
        table->addTableColumn(column);
    table->setDataSource(messages_);
    connect(picker, &TableView::selectionDidChange, table, &TableView::reloadData);
    // The picker is a second view of the song list's rows: it follows the library too.
    if (context_)
        connect(context_, &ObjectContext::objectsDidChange, picker, &TableView::reloadData);
    midiMessageTableViewController* m = messages_;
    guardedConnect(view_, &SongDetailsView::addMessageClicked, this,
                   "addMidiMessage:", [m] { m->addMidiMessage(); });
    guardedConnect(view_, &SongDetailsView::removeMessageClicked, this,
                   "removeMidiMessage:", [m] { m->removeMidiMessage(); });
    wireDetailControls();
    showSelectedSong();
}

void SongDetailsScreen::wireDetailControls() {
    guardedConnect(view_->songPicker(), &TableView::selectionDidChange, this, "showSelectedSong",
                   [this] { showSelectedSong(); });
    // The switch is the song list's MIDI out column for the picked row.
    connect(view_, &SongDetailsView::midiOutToggled, this, [this](bool on) {
        guarded("midiEnableCheckBox", [&] {
            const qsizetype row = view_->songPicker()->selectedRow();
            if (row >= 0) songList_->setObjectValue(view_->songPicker(), on, "midiOut", row);
        });
    });
    connect(view_, &SongDetailsView::messageTypeChosen, this, [this](int type) {
        guarded("midiMessageType", [&] { storeOnEveryRecord("midiOutMessageType", type); });
    });
    connect(view_, &SongDetailsView::channelChosen, this, [this](int channel) {
        guarded("midiChannel", [&] { storeOnEveryRecord("midiOutChannel", channel); });
    });
    connect(view_, &SongDetailsView::numberCommitted, this,
            [this](int n) { storeOnEveryRecord("progOrCcNumber", n); });
    connect(view_, &SongDetailsView::valueCommitted, this,
            [this](int v) { storeOnEveryRecord("ccValue", v); });
}

ManagedObject* SongDetailsScreen::selectedSong() const {
    const qsizetype row = view_->songPicker()->selectedRow();
    const QList<ManagedObject*> songs = filter_->returnFilteredArray();
    return row >= 0 && row < songs.size() ? songs[row] : nullptr;
}

void SongDetailsScreen::showSelectedSong() {
    ManagedObject* song = selectedSong();
    SongDetailsView::MidiOut shown;
    shown.picked = song != nullptr;
    if (song) {
        shown.enabled = song->value("midiOutEnabled").toBool();
        shown.messageType = int(song->integerValue("midiOutMessageType"));
        shown.channel =
            song->value("midiOutChannel").isValid() ? int(song->integerValue("midiOutChannel")) : 1;
        const auto number = [song](const char* key) {
            return song->value(key).isValid() ? QString::number(song->integerValue(key))
                                              : QString();
        };
        shown.number = number("progOrCcNumber");
        shown.value = number("ccValue");
    }
    view_->showMidiOut(shown);
}

void SongDetailsScreen::storeOnEveryRecord(const char* key, const QVariant& value) {
    ManagedObject* song = selectedSong();
    if (!song || !context_) return;
    for (ManagedObject* record : ProjectRecords::of(*context_, song->value("path")))
        record->setValue(key, value);
    // The change stays in the library and goes out with the next save; the log says why
    // this one failed.
    Error error;
    if (!context_->save(&error))
        qCWarning(lcApp).noquote()
            << "Could not save the song's" << key << "setting:" << error.localizedFailureReason;
}

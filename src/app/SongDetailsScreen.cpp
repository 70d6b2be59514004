#include "app/SongDetailsScreen.h"

#include "app/MainWindow.h"
#include "editing/AllSongsTableViewController.h"
#include "library/ArrayController.h"
#include "library/FetchRequest.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "midi/MainMidi.h"
#include "performance/midiMessageTableViewController.h"
#include "platform/EditingRegistry.h"
#include "platform/Error.h"
#include "platform/Guard.h"
#include "platform/RangeValidator.h"
#include "platform/TableColumn.h"
#include "platform/TableView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QPushButton>
#include <QSignalBlocker>

Q_LOGGING_CATEGORY(lcSongDetails, "gigmora.app")

SongDetailsScreen::SongDetailsScreen(MainWindow* w, ObjectContext* context,
                                     ArrayController* allSongs, LibraryFilter* filter,
                                     AllSongsTableViewController* songList, MainMidi* engine,
                                     QObject* parent)
    : QObject(parent), window_(w), context_(context), filter_(filter), songList_(songList),
      messages_(new midiMessageTableViewController(this)) {
    // The same rows as the song list, but here a click picks the song.
    TableColumn number{"midiIn", "#"};
    number.width = 48;
    w->allSongsDetailView->addTableColumn(number);
    w->allSongsDetailView->addTableColumn("title", "Title");
    w->allSongsDetailView->setDataSource(songList);
    songList->progCcNumberTextField = w->progCcNumberTextField;
    songList->ccValueTextField = w->ccValueTextField;
    songList->midiEnableCheckBox = w->midiEnableCheckBox;
    songList->midiMessageType = w->midiMessageType;
    songList->midiChannel = w->midiChannel;
    songList->midiMessageTableView = w->midiMessageTableView;

    midiMessageTableViewController* m = messages_;
    m->awakeFromNib(context);
    m->allSongsArrayController = allSongs;
    m->allSongsDetailView = w->allSongsDetailView;
    m->midiMessageTableView = w->midiMessageTableView;
    m->masterView = w->masterView;
    m->songDetailsView = w->songDetailsView;
    m->editView = w->editView;
    m->performanceView = w->performanceView;
    m->engine = engine;
    m->returnFilteredArray = [filter] { return filter->returnFilteredArray(); };
    m->filter = filter;
    // The picker is a second view of the song list's rows: it follows the library too.
    if (context)
        connect(context, &ObjectContext::objectsDidChange, w->allSongsDetailView,
                &TableView::reloadData);
    for (const TableColumn& column : midiMessageTableViewController::columns())
        w->midiMessageTableView->addTableColumn(column);
    w->midiMessageTableView->setDataSource(m);
    connect(w->allSongsDetailView, &TableView::selectionDidChange, w->midiMessageTableView,
            &TableView::reloadData);
    connect(w->addMidiMessageButton, &QPushButton::clicked, this,
            [m] { guarded("addMidiMessage:", [m] { m->addMidiMessage(); }); });
    connect(w->removeMidiMessageButton, &QPushButton::clicked, this,
            [m] { guarded("removeMidiMessage:", [m] { m->removeMidiMessage(); }); });
    wireDetailControls();
    showSelectedSong();
}

void SongDetailsScreen::wireDetailControls() {
    MainWindow* w = window_;
    for (QLineEdit* field : {w->progCcNumberTextField, w->ccValueTextField})
        field->setValidator(new RangeValidator(0, 127, field));
    connect(w->allSongsDetailView, &TableView::selectionDidChange, this,
            [this] { guarded("showSelectedSong", [this] { showSelectedSong(); }); });
    // The switch is the song list's MIDI out column for the picked row.
    connect(w->midiEnableCheckBox, &QCheckBox::clicked, this, [this](bool on) {
        guarded("midiEnableCheckBox", [&] {
            const qsizetype row = window_->allSongsDetailView->selectedRow();
            if (row >= 0)
                songList_->setObjectValue(window_->allSongsDetailView, on, "midiOut", row);
        });
    });
    connect(w->midiMessageType, &QComboBox::activated, this, [this](int index) {
        guarded("midiMessageType", [&] { storeOnEveryRecord("midiOutMessageType", index); });
    });
    connect(w->midiChannel, &QComboBox::activated, this, [this](int index) {
        guarded("midiChannel", [&] { storeOnEveryRecord("midiOutChannel", index + 1); });
    });
    for (auto [field, key] : {std::pair{w->progCcNumberTextField, "progOrCcNumber"},
                              std::pair{w->ccValueTextField, "ccValue"}}) {
        const auto commit = [this, field = field, key = key] {
            guarded(key, [&] { commitField(field, key); });
            return true;
        };
        connect(field, &QLineEdit::editingFinished, this, commit);
        // A save or a quit commits the typing first, as it does a table's cell; once
        // committed, the field's later end of editing has nothing left to store.
        EditingRegistry::add(field, commit);
        connect(field, &QObject::destroyed, field,
                [field = field] { EditingRegistry::remove(field); });
    }
}

void SongDetailsScreen::commitField(QLineEdit* field, const char* key) {
    if (!field->isModified() || !field->hasAcceptableInput()) return;
    field->setModified(false);
    storeOnEveryRecord(key, field->text().toInt());
}

ManagedObject* SongDetailsScreen::selectedSong() const {
    const qsizetype row = window_->allSongsDetailView->selectedRow();
    const QList<ManagedObject*> songs = filter_->returnFilteredArray();
    return row >= 0 && row < songs.size() ? songs[row] : nullptr;
}

void SongDetailsScreen::showSelectedSong() {
    MainWindow* w = window_;
    ManagedObject* song = selectedSong();
    const bool on = song && song->value("midiOutEnabled").toBool();
    {
        const QSignalBlocker a(w->midiEnableCheckBox), b(w->midiMessageType), c(w->midiChannel),
            d(w->progCcNumberTextField), e(w->ccValueTextField);
        w->midiEnableCheckBox->setChecked(on);
        const qint64 type = song ? song->integerValue("midiOutMessageType") : 0;
        w->midiMessageType->setCurrentIndex(type >= 0 && type < 2 ? int(type) : 0);
        const qint64 channel = song ? song->integerValue("midiOutChannel") : 1;
        w->midiChannel->setCurrentIndex(channel >= 1 && channel <= 16 ? int(channel - 1) : 0);
        const auto number = [song](const char* key) {
            return song && song->value(key).isValid() ? QString::number(song->integerValue(key))
                                                      : QString();
        };
        w->progCcNumberTextField->setText(number("progOrCcNumber"));
        w->ccValueTextField->setText(number("ccValue"));
    }
    w->midiEnableCheckBox->setEnabled(song != nullptr);
    for (QWidget* control :
         {static_cast<QWidget*>(w->midiMessageType), static_cast<QWidget*>(w->midiChannel),
          static_cast<QWidget*>(w->progCcNumberTextField),
          static_cast<QWidget*>(w->ccValueTextField)})
        control->setEnabled(on);
}

void SongDetailsScreen::storeOnEveryRecord(const char* key, const QVariant& value) {
    ManagedObject* song = selectedSong();
    if (!song || !context_) return;
    for (ManagedObject* record : context_->executeFetchRequest(
             {"Song", Predicate::withFormat("path == %@", {song->value("path")}), {}, 0}))
        record->setValue(key, value);
    // The change stays in the library and goes out with the next save; the log says why
    // this one failed.
    Error error;
    if (!context_->save(&error))
        qCWarning(lcSongDetails).noquote()
            << "Could not save the song's" << key << "setting:" << error.localizedFailureReason;
}

#include "app/SongDetailsScreen.h"

#include "app/MainWindow.h"
#include "editing/AllSongsTableViewController.h"
#include "library/ArrayController.h"
#include "library/LibraryFilter.h"
#include "library/ObjectContext.h"
#include "midi/MainMidi.h"
#include "performance/midiMessageTableViewController.h"
#include "platform/Guard.h"
#include "platform/TableColumn.h"
#include "platform/TableView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>

SongDetailsScreen::SongDetailsScreen(MainWindow* w, ObjectContext* context,
                                     ArrayController* allSongs, LibraryFilter* filter,
                                     AllSongsTableViewController* songList, MainMidi* engine,
                                     QObject* parent)
    : QObject(parent), messages_(new midiMessageTableViewController(this)) {
    // The same rows as the song list, but here a click picks the song.
    w->allSongsDetailView->addTableColumn("midiIn", "#");
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
    for (const TableColumn& column : midiMessageTableViewController::columns())
        w->midiMessageTableView->addTableColumn(column);
    w->midiMessageTableView->setDataSource(m);
    connect(w->allSongsDetailView, &TableView::selectionDidChange, w->midiMessageTableView,
            &TableView::reloadData);
    connect(w->addMidiMessageButton, &QPushButton::clicked, this,
            [m] { guarded("addMidiMessage:", [m] { m->addMidiMessage(); }); });
    connect(w->removeMidiMessageButton, &QPushButton::clicked, this,
            [m] { guarded("removeMidiMessage:", [m] { m->removeMidiMessage(); }); });
}

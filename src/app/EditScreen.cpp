#include "app/EditScreen.h"

#include "app/MainWindow.h"
#include "app/tables/SetlistTableRowView.h"
#include "editing/AllSongsTableViewController.h"
#include "editing/DragableOrderedSetTableViewDelegate.h"
#include "library/ArrayController.h"
#include "library/LibraryFilter.h"
#include "library/ObjectContext.h"
#include "platform/Guard.h"
#include "platform/TableColumn.h"
#include "platform/TableView.h"

#include <QAction>
#include <QMenuBar>
#include <QPushButton>

EditScreen::EditScreen(MainWindow* w, const Controllers& c,
                       std::function<void(qsizetype)> updateAllSongDetailView, QObject* parent)
    : QObject(parent),
      songList_(new AllSongsTableViewController(c.context, c.allSongs, c.filter, this)),
      setlist_(new DragableOrderedSetTableViewDelegate(c.context, this)),
      setlists_(new DragableOrderedSetTableViewDelegate(c.context, this)),
      rowView_(std::make_unique<SetlistTableRowView>()) {
    for (const TableColumn& column : AllSongsTableViewController::columns())
        w->aSongsTableView->addTableColumn(column);
    w->aSongsTableView->setSortDescriptors({{"midiIn", true}});
    w->aSongsTableView->setDataSource(songList_);
    w->aSongsTableView->setDelegate(songList_);
    songList_->allSongsTableView = w->aSongsTableView;
    songList_->songDetailsTableView = w->midiMessageTableView; // the song's detail table
    songList_->updateAllSongDetailView = updateAllSongDetailView;

    // Each delegate serves one table; both know all of the edit screen's tables.
    for (DragableOrderedSetTableViewDelegate* d : {setlist_, setlists_}) {
        d->allSetlistsArrayController = c.allSetlists;
        d->allSongsArrayController = c.allSongs;
        d->aSongsTableView = w->aSongsTableView;
        d->myTopListOfSetlistsTableView = w->myTopListOfSetlistsTableView;
        d->songDetailsTableView = w->allSongsDetailView;
        d->midiMessageTableView = w->midiMessageTableView;
        d->updateAllSongDetailView = updateAllSongDetailView;
    }
    setlist_->setlistTableView = w->setlistTableView;
    setlist_->arrayController = c.currentSetlist;
    setlist_->rowView = rowView_.get();
    w->setlistTableView->setDelegate(setlist_);
    setlist_->awakeFromNib();
    setlists_->setlistTableView = w->myTopListOfSetlistsTableView;
    setlists_->arrayController = c.allSetlists;
    w->myTopListOfSetlistsTableView->setDelegate(setlists_);
    setlists_->awakeFromNib();
    addCommands(w);
}

EditScreen::~EditScreen() = default;

void EditScreen::addCommands(MainWindow* w) {
    QMenu* library = w->menuBar()->addMenu("&Library");
    const struct {
        const char* name;
        QKeySequence keys;
        QPushButton* button;
        std::function<void()> run;
    } commands[] = {
        {"Add Song…", QKeySequence(Qt::CTRL | Qt::Key_O), w->addSongButton,
         [this] { songList_->addNewSessionViaMenu(); }},
        {"Delete Song", QKeySequence(Qt::CTRL | Qt::Key_Backspace), w->deleteSongButton,
         [this] { songList_->deleteFromAllSongsList(); }},
        {"Delete All Songs…", {}, w->deleteAllSongsButton, [this] { songList_->deleteAllSongs(); }},
        {"New Setlist", QKeySequence(Qt::CTRL | Qt::Key_N), w->newSetlistButton,
         [this] { setlist_->addNewSetlist(); }},
        {"Remove Setlist", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace),
         w->removeSetlistButton, [this] { setlist_->removeSelectedSetlist(); }},
        {"Add Song to Setlist…", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O),
         w->addSongToSetlistButton, [this] { setlist_->addingSongViaMenu(); }},
        {"Remove from Setlist", QKeySequence(Qt::Key_Delete), w->removeFromSetlistButton,
         [this] { setlist_->removeFromCurrentSetlist(); }},
        {"Delete Song Everywhere", QKeySequence(Qt::CTRL | Qt::Key_Delete),
         w->deleteSongEverywhereButton,
         [this] { setlist_->deleteFromAllSongsListAndCurrentSetlist(); }},
    };
    for (const auto& c : commands) {
        QAction* a = library->addAction(c.name);
        a->setObjectName(c.name);
        actions_.insert(c.name, a);
        if (!c.keys.isEmpty()) a->setShortcut(c.keys);
        const std::string where = c.name;
        const auto run = c.run;
        connect(a, &QAction::triggered, this, [where, run] { guarded(where.c_str(), run); });
        connect(c.button, &QPushButton::clicked, a, &QAction::trigger);
        buttons_ << c.button;
    }
    // The setlist's own commands on a right click; disabled with the rest outside editing.
    auto* menu = new QMenu(w->setlistTableView);
    for (const char* name : {"New Setlist", "Remove Setlist", "Add Song to Setlist…",
                             "Remove from Setlist", "Delete Song Everywhere"})
        menu->addAction(actions_.value(QString::fromUtf8(name)));
    w->setlistTableView->setMenu(menu);
}

void EditScreen::setCommandsEnabled(bool enabled) {
    for (QAction* a : std::as_const(actions_))
        a->setEnabled(enabled);
    for (QWidget* b : std::as_const(buttons_))
        b->setEnabled(enabled);
}

QAction* EditScreen::action(const QString& name) const {
    return actions_.value(name);
}

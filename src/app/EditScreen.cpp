#include "app/EditScreen.h"

#include "app/SetlistCheckDialog.h"
#include "app/tables/SetlistTableRowView.h"

#include "editing/AllSongsTableViewController.h"
#include "editing/DragableOrderedSetTableViewDelegate.h"
#include "library/ArrayController.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "platform/Alerts.h"
#include "platform/GuardedConnect.h"
#include "platform/TableColumn.h"
#include "platform/TableView.h"
#include "settings/GigmoraConfig.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>

EditScreen::EditScreen(const Dependencies& d, QObject* parent)
    : QObject(parent), view_(d.view), allSetlists_(d.library.allSetlists),
      rowView_(std::make_unique<SetlistTableRowView>()),
      songList_(new AllSongsTableViewController(
          {d.library, d.view->allSongsTableView(),
           d.midiMessageTableView /* the song's detail table */, d.midiMessageTableView,
           d.setDetailControlsEnabled, d.updateAllSongDetailView},
          this)) {
    const DragableOrderedSetTableViewDelegate::Tables tables{d.view->allSongsTableView(),
                                                             d.view->topListOfSetlistsTableView(),
                                                             d.songPicker, d.midiMessageTableView};
    setlist_ = new DragableOrderedSetTableViewDelegate({d.library, d.view->setlistTableView(),
                                                        d.library.currentSetlist, tables,
                                                        rowView_.get(), d.updateAllSongDetailView},
                                                       this);
    setlists_ = new DragableOrderedSetTableViewDelegate(
        {d.library, d.view->topListOfSetlistsTableView(), d.library.allSetlists, tables, nullptr,
         d.updateAllSongDetailView},
        this);
    bindTables(d);
    addCommands(d.menuBar);
}

EditScreen::~EditScreen() = default;

void EditScreen::bindTables(const Dependencies& d) {
    TableView* setlists = view_->topListOfSetlistsTableView();
    setlists->addTableColumn("name", "Setlists", true);
    setlists->bind("content", d.library.allSetlists, "arrangedObjects");
    setlists->bind("selectionIndexes", d.library.allSetlists, "selectionIndexes");
    setlists->setDelegate(setlists_);
    TableView* setlist = view_->setlistTableView();
    setlist->addTableColumn("title", "Song");
    TableColumn number{"midiIn", "#"};
    number.width = 48;
    setlist->addTableColumn(number);
    setlist->bind("content", d.library.currentSetlist, "arrangedObjects");
    setlist->bind("selectionIndexes", d.library.currentSetlist, "selectionIndexes");
    setlist->setDelegate(setlist_);
    TableView* songs = view_->allSongsTableView();
    for (const TableColumn& column : AllSongsTableViewController::columns())
        songs->addTableColumn(column);
    songs->setSortDescriptors({{"midiIn", true}});
    songs->setDataSource(songList_);
    songs->setDelegate(songList_);
    LibraryFilter* filter = d.library.filter;
    connect(view_, &EditView::searchTextChanged, this, [filter](const QString& text) {
        guarded("changePredicate:", [&] { filter->changePredicate(text); });
    });
}

void EditScreen::addCommands(QMenuBar* menuBar) {
    QMenu* library = menuBar->addMenu("&Library");
    using C = EditView::Command;
    const struct {
        const char* name;
        QKeySequence keys;
        C command;
        std::function<void()> run;
    } commands[] = {
        {"Add Song…", QKeySequence(Qt::CTRL | Qt::Key_O), C::AddSong,
         [this] { songList_->addNewSessionViaMenu(); }},
        {"Delete Song", QKeySequence(Qt::CTRL | Qt::Key_Backspace), C::DeleteSong,
         [this] { songList_->deleteFromAllSongsList(); }},
        {"Delete All Songs…", {}, C::DeleteAllSongs, [this] { songList_->deleteAllSongs(); }},
        {"New Setlist", QKeySequence(Qt::CTRL | Qt::Key_N), C::NewSetlist,
         [this] { setlist_->addNewSetlist(); }},
        {"Remove Setlist", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace), C::RemoveSetlist,
         [this] { setlist_->removeSelectedSetlist(); }},
        {"Add Song to Setlist…", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O),
         C::AddSongToSetlist, [this] { setlist_->addingSongViaMenu(); }},
        {"Remove from Setlist", QKeySequence(Qt::Key_Delete), C::RemoveFromSetlist,
         [this] { setlist_->removeFromCurrentSetlist(); }},
        {"Delete Song Everywhere", QKeySequence(Qt::CTRL | Qt::Key_Delete), C::DeleteSongEverywhere,
         [this] { setlist_->deleteFromAllSongsListAndCurrentSetlist(); }},
    };
    QHash<int, QAction*> byCommand;
    for (const auto& c : commands) {
        QAction* a = library->addAction(c.name);
        a->setObjectName(c.name);
        actions_.insert(c.name, a);
        byCommand.insert(int(c.command), a);
        if (!c.keys.isEmpty()) a->setShortcut(c.keys);
        guardedConnect(a, &QAction::triggered, this, c.name, c.run);
    }
    library->addSeparator();
    QAction* check = library->addAction("Check Setlist…");
    check->setObjectName(check->text());
    actions_.insert(check->text(), check);
    guardedConnect(check, &QAction::triggered, this, "checkSetlist:", [this] { checkSetlist(); });
    connect(view_, &EditView::commandClicked, this, [byCommand](C command) {
        if (QAction* a = byCommand.value(int(command)); a && a->isEnabled()) a->trigger();
    });
    // The setlist's own commands on a right click; disabled with the rest outside editing.
    auto* menu = new QMenu(view_->setlistTableView());
    for (const char* name : {"New Setlist", "Remove Setlist", "Add Song to Setlist…",
                             "Remove from Setlist", "Delete Song Everywhere"})
        menu->addAction(actions_.value(QString::fromUtf8(name)));
    view_->setlistTableView()->setMenu(menu);
}

void EditScreen::checkSetlist() {
    const QList<ManagedObject*> selected = allSetlists_->selectedObjects();
    if (selected.isEmpty()) {
        Alerts::shared().runModal({"No setlist is selected.",
                                   "Select the setlist to check in the list of setlists.",
                                   {"OK"},
                                   AlertSpec::Style::Informational});
        return;
    }
    // The library's objects stay on this thread: the check gets plain titles and paths.
    QList<SetlistCheck::Song> songs;
    for (ManagedObject* song : selected.first()->orderedObjects("song"))
        songs.append({song->stringValue("title"), song->stringValue("path")});
    const GigmoraConfig::Daw daw = GigmoraConfig::daw();
    auto* dialog =
        new SetlistCheckDialog(selected.first()->stringValue("name"), songs, daw, view_->window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (check_) check_->close();
    check_ = dialog;
    dialog->show();
}

QAction* EditScreen::action(const QString& name) const {
    return actions_.value(name);
}

void EditScreen::setCommandsEnabled(bool enabled) {
    for (QAction* a : std::as_const(actions_))
        a->setEnabled(enabled);
    // The show takes no second DAW loading songs beside it.
    if (!enabled && check_) check_->close();
    view_->setCommandsEnabled(enabled);
}

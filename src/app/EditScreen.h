#pragma once

#include "app/EditView.h"
#include "library/LibraryControllers.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>

class AllSongsTableViewController;
class ArrayController;
class DragableOrderedSetTableViewDelegate;
class QAction;
class QDialog;
class QMenuBar;
class SetlistTableRowView;
class TableView;

// The edit screen: which controller serves which table, and the library commands as buttons,
// menu items and shortcuts. The song list has its own controller; the current setlist's songs
// and the list of setlists each have a drag-and-drop delegate of their own.
class EditScreen : public QObject {
    Q_OBJECT
public:
    struct Dependencies {
        EditView* view = nullptr;
        QMenuBar* menuBar = nullptr; // gets the Library menu
        LibraryControllers library;
        // Song details' tables, which the edit commands keep up to date.
        TableView* songPicker = nullptr;
        TableView* midiMessageTableView = nullptr;
        std::function<void(bool)> setDetailControlsEnabled;
        std::function<void(qsizetype)> updateAllSongDetailView;
    };
    explicit EditScreen(const Dependencies& dependencies, QObject* parent = nullptr);
    ~EditScreen() override;

    AllSongsTableViewController* songList() const { return songList_; }
    DragableOrderedSetTableViewDelegate* setlistDelegate() const { return setlist_; }
    DragableOrderedSetTableViewDelegate* setlistsDelegate() const { return setlists_; }
    QAction* action(const QString& name) const;
    // The library commands (menu items, buttons, shortcuts) work in the edit mode only.
    void setCommandsEnabled(bool enabled);

private:
    void bindTables(const Dependencies& d);
    void addCommands(QMenuBar* menuBar);
    void checkSetlist();

    EditView* view_;
    ArrayController* allSetlists_;
    std::unique_ptr<SetlistTableRowView> rowView_;
    AllSongsTableViewController* songList_;
    DragableOrderedSetTableViewDelegate* setlist_ = nullptr;
    DragableOrderedSetTableViewDelegate* setlists_ = nullptr;
    QHash<QString, QAction*> actions_;
    QPointer<QDialog> check_; // the open check, ended with the editing
};

#pragma once

#include <QHash>
#include <QObject>
#include <functional>
#include <memory>

class AllSongsTableViewController;
class ArrayController;
class DragableOrderedSetTableViewDelegate;
class LibraryFilter;
class MainWindow;
class ObjectContext;
class QAction;
class SetlistTableRowView;

// The edit screen: which controller serves which table, and the library commands as buttons
// and menu items. The song list has its own controller; the current setlist's songs and the
// list of setlists each have a drag-and-drop delegate of their own.
class EditScreen : public QObject {
    Q_OBJECT
public:
    struct Controllers {
        ObjectContext* context;
        ArrayController* allSetlists;
        ArrayController* allSongs;
        ArrayController* currentSetlist;
        LibraryFilter* filter;
    };
    EditScreen(MainWindow* window, const Controllers& controllers,
               std::function<void(qsizetype)> updateAllSongDetailView, QObject* parent);
    ~EditScreen() override;

    AllSongsTableViewController* songList() const { return songList_; }
    DragableOrderedSetTableViewDelegate* setlistDelegate() const { return setlist_; }
    DragableOrderedSetTableViewDelegate* setlistsDelegate() const { return setlists_; }
    QAction* action(const QString& name) const;
    // The library commands (menu items, buttons, shortcuts) work in the edit mode only.
    void setCommandsEnabled(bool enabled);

private:
    void addCommands(MainWindow* window);

    AllSongsTableViewController* songList_;
    DragableOrderedSetTableViewDelegate* setlist_;
    DragableOrderedSetTableViewDelegate* setlists_;
    std::unique_ptr<SetlistTableRowView> rowView_;
    QHash<QString, QAction*> actions_;
    QList<QWidget*> buttons_;
};

#pragma once

#include "library/LibraryControllers.h"
#include "platform/TableViewDelegate.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <functional>

class ProjectKind;
class ArrayController;
class LibraryFilter;
class ManagedObject;
class ObjectContext;
class QFrame;
class QLabel;
class TableRowView;
class TableView;

// Builds setlists by dragging: songs from the song list into a setlist, a setlist's songs
// reordered, project files from the file manager. One instance serves one table whose rows are
// an ordered relation shown through an array controller. It also carries the setlist commands
// of the edit screen and the popover that shows a song's file.
class DragableOrderedSetTableViewDelegate : public QObject, public TableViewDelegate {
    Q_OBJECT
public:
    // The other tables it keeps up to date.
    struct Tables {
        TableView* aSongsTableView = nullptr;
        TableView* myTopListOfSetlistsTableView = nullptr;
        TableView* songDetailsTableView = nullptr;
        TableView* midiMessageTableView = nullptr;
    };
    struct Dependencies {
        LibraryControllers library;                 // its filter knows the current setlist
        TableView* setlistTableView = nullptr;      // the table this instance serves
        ArrayController* arrayController = nullptr; // and its rows
        Tables tables;
        // The row view "RowView", made by the window (the setlist row form); not owned.
        TableRowView* rowView = nullptr;
        std::function<void(qsizetype)> updateAllSongDetailView;
    };
    explicit DragableOrderedSetTableViewDelegate(const Dependencies& dependencies,
                                                 QObject* parent = nullptr);
    ~DragableOrderedSetTableViewDelegate() override;

    bool writeRowsWithIndexes(TableView* tableView, const IndexSet& rows,
                              Pasteboard& pasteboard) override;
    void draggingSessionWillBeginAtPoint(TableView* tableView, QPoint at,
                                         const IndexSet& rows) override;
    void draggingSessionEndedAtPoint(TableView* tableView, QPoint at, uint32_t op) override;
    uint32_t validateDrop(TableView* tableView, DraggingInfo& info, qsizetype row,
                          DropOperation operation) override;
    bool acceptDrop(TableView* tableView, DraggingInfo& info, qsizetype row,
                    DropOperation operation) override;
    TableRowView* rowViewForRow(TableView* tableView, qsizetype row) override;

    void addingSongViaMenu();
    ManagedObject* getCurrentSetlist() const;
    void addNewSetlist();
    void removeSelectedSetlist();
    void removeFromCurrentSetlist();
    void deleteFromAllSongsListAndCurrentSetlist();
    void fileInfoPopoverMethod();
    void closePopover();
    QFrame* fileNamePopover() const { return fileNamePopover_; }
    QLabel* songFileInfo() const { return songFileInfo_; }

    // The pasteboard type of this table's row drags: its controller's entity.
    QString rowType() const;

    QList<ManagedObject*> songsArrayToCheck;
    QList<ManagedObject*> currentSetlistArrayToCheck;
    QList<ManagedObject*> filteredArray;
    QString fileName;
    QUrl fileNameAsNSURL;

    // The drag under way, shared by every instance: one drag at a time.
    static QList<ManagedObject*> draggedObjects;
    static qsizetype draggedRowFirst, draggedRowLength;

private:
    // Registers the table for its row type, moves for drags inside the application, and
    // listens for right clicks.
    void awakeFromNib();
    bool acceptSongCopy(TableView* tableView, DraggingInfo& info, qsizetype row);
    bool acceptFiles(TableView* tableView, DraggingInfo& info, qsizetype row,
                     DropOperation operation);
    void reorder(TableView* tableView, DraggingInfo& info, qsizetype row);
    QList<ManagedObject*> songsWithPath(const QVariant& path, qsizetype limit = 0) const;
    ManagedObject* newSong(const QString& path);
    // Points a record at another project: its title and path.
    static void newSongFields(ManagedObject* record, const QString& path);
    void selectDropRow(TableView* tableView, qsizetype row);

    const ProjectKind& projectKind_;
    QPointer<ObjectContext> context_;
    LibraryFilter* filter_;
    QPointer<TableView> setlistTableView;
    QPointer<ArrayController> arrayController;
    QPointer<ArrayController> allSetlistsArrayController;
    QPointer<ArrayController> allSongsArrayController;
    QPointer<TableView> aSongsTableView;
    QPointer<TableView> myTopListOfSetlistsTableView;
    QPointer<TableView> songDetailsTableView;
    QPointer<TableView> midiMessageTableView;
    TableRowView* rowView;
    std::function<void(qsizetype)> updateAllSongDetailView;
    QFrame* fileNamePopover_;
    QLabel* songFileInfo_;
};

#pragma once

#include "library/LibraryControllers.h"
#include "platform/TableViewDataSource.h"
#include "platform/TableViewDelegate.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QVariantList>
#include <functional>

class ProjectKind;
class ArrayController;
class LibraryFilter;
class ManagedObject;
class ObjectContext;
class TableView;
struct TableColumn;

// The song list: every project once, numbered for recall by program change. Numbers are kept
// unique by giving each new song the one above the highest in use, and a typed number that
// another song holds moves those songs away, once the user agrees.
class AllSongsTableViewController : public QObject,
                                    public TableViewDataSource,
                                    public TableViewDelegate {
    Q_OBJECT
public:
    struct Dependencies {
        LibraryControllers library;
        TableView* allSongsTableView = nullptr;    // the song list
        TableView* songDetailsTableView = nullptr; // the song's detail table (its messages)
        TableView* midiMessageTableView = nullptr; // reloaded as the list is drawn
        // The song detail controls (kind, channel, number, value), on or off together.
        std::function<void(bool)> setDetailControlsEnabled;
        // The application controller's detail update for a row.
        std::function<void(qsizetype)> updateAllSongDetailView;
    };
    explicit AllSongsTableViewController(const Dependencies& dependencies,
                                         QObject* parent = nullptr);

    // The song list's columns: number (0–127 typed), title, MIDI out switch.
    static QList<TableColumn> columns();

    qsizetype numberOfRowsInTableView(TableView* tableView) override;
    QVariant objectValue(TableView* tableView, const QString& column, qsizetype row) override;
    void setObjectValue(TableView* tableView, const QVariant& value, const QString& column,
                        qsizetype row) override;
    // A row is its project: the path, or the record itself for a song without one.
    QVariant rowIdentity(TableView* tableView, qsizetype row) override;

    bool shouldSelectRow(TableView*, qsizetype) override { return false; }
    bool writeRowsWithIndexes(TableView* tableView, const IndexSet& rows,
                              Pasteboard& pasteboard) override;
    uint32_t validateDrop(TableView* tableView, DraggingInfo& info, qsizetype row,
                          DropOperation operation) override;
    bool acceptDrop(TableView* tableView, DraggingInfo& info, qsizetype row,
                    DropOperation operation) override;

    void addNewSessionViaMenu();
    void deleteFromAllSongsList();
    void deleteAllSongs();
    // This controller's own variant, which nothing uses: it keeps only what its first pass
    // keeps, since the set of seen values outlives the pass.
    QList<ManagedObject*> removeDuplicatesInArray(const QList<ManagedObject*>& songs);

    QList<ManagedObject*> songsToCheck;
    QList<ManagedObject*> filteredArray;
    QList<ManagedObject*> mutableFilteredArray;
    ManagedObject* selectedSong = nullptr;
    QStringList songTitleMutableArray;
    QUrl fileNameAsNSURL;
    QString kMyCustomAllSongsDragType; // never given a value: matches no drag

private:
    void refreshRows();
    QList<ManagedObject*> songsWithPath(const QVariant& path) const;
    // The song above the highest number in use (a song with no number counts as 0).
    ManagedObject* highestNumberedSong() const;
    // False when the numbering ended the operation.
    bool giveNextNumber(ManagedObject* song);
    // A new song for a project path, unless one has that path already; false as above.
    bool addSongForPath(const QString& path);
    void reloadTables();

    const ProjectKind& projectKind_;
    QPointer<ObjectContext> context_;
    QPointer<ArrayController> allSongs_;
    LibraryFilter* filter_;
    QPointer<TableView> allSongsTableView;
    QPointer<TableView> songDetailsTableView;
    QPointer<TableView> midiMessageTableView;
    std::function<void(bool)> setDetailControlsEnabled;
    std::function<void(qsizetype)> updateAllSongDetailView;
    QVariantList seenValues_; // the variant's set that outlives its passes
};

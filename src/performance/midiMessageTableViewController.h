#pragma once

#include "platform/TableViewDataSource.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <functional>

class ArrayController;
class LibraryFilter;
class MainMidi;
class ManagedObject;
class ObjectContext;
struct TableColumn;
class TableView;
class QWidget;

// The selected song's outgoing MIDI messages, shown in song-details mode. A song is its
// project path: every record of the path (its copies in setlists) gets the same edit.
class midiMessageTableViewController : public QObject, public TableViewDataSource {
    Q_OBJECT
public:
    struct Dependencies {
        ObjectContext* context = nullptr;
        ArrayController* allSongsArrayController = nullptr;
        TableView* allSongsDetailView = nullptr;   // the song picker
        TableView* midiMessageTableView = nullptr; // this table
        MainMidi* engine = nullptr;
        // The song list's rows, and the library's kept de-duplication.
        std::function<QList<ManagedObject*>()> returnFilteredArray;
        LibraryFilter* filter = nullptr;
        // The mode view the window shows now (asked of the mode switch), and song details'.
        std::function<QWidget*()> shownModeView;
        QWidget* songDetailsView = nullptr;
    };
    explicit midiMessageTableViewController(const Dependencies& dependencies,
                                            QObject* parent = nullptr);

    // Message kind, destination, channel, program or controller number, controller value.
    static QList<TableColumn> columns();

    void viewDidLoad() {}
    qsizetype numberOfRowsInTableView(TableView* tableView) override;
    QVariant objectValue(TableView* tableView, const QString& column, qsizetype row) override;
    void setObjectValue(TableView* tableView, const QVariant& value, const QString& column,
                        qsizetype row) override;
    void addMidiMessage();
    void removeMidiMessage();
    void selectingNewMidiPortInPopup() {}

    QList<ManagedObject*> midiMessageArray; // never read or written
    QList<ManagedObject*> songsToCheck;
    QList<ManagedObject*> filteredArray;
    QList<ManagedObject*> selectedSongMidiMessages;
    QPointer<ObjectContext> midiMessageObjectContext;
    ManagedObject* midiMessageToReturn = nullptr;
    QPointer<QWidget> masterSubview;

private:
    ManagedObject* selectedSong();
    QList<ManagedObject*> recordsOfPath(ManagedObject* song) const;
    void saveAndReload();

    QPointer<ArrayController> allSongsArrayController;
    QPointer<TableView> allSongsDetailView;
    QPointer<TableView> midiMessageTableView;
    QPointer<MainMidi> engine;
    std::function<QList<ManagedObject*>()> returnFilteredArray;
    LibraryFilter* filter;
    std::function<QWidget*()> shownModeView;
    QPointer<QWidget> songDetailsView;
};

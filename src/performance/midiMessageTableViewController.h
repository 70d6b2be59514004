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
class TableColumn;
class TableView;
class QWidget;

// The selected song's outgoing MIDI messages, shown in song-details mode. A song is its
// project path: every record of the path (its copies in setlists) gets the same edit.
class midiMessageTableViewController : public QObject, public TableViewDataSource {
    Q_OBJECT
public:
    explicit midiMessageTableViewController(QObject* parent = nullptr);

    // Message kind, destination, channel, program or controller number, controller value.
    static QList<TableColumn> columns();

    void awakeFromNib(ObjectContext* context);
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

    // Outlets and what the application controller provides.
    QPointer<ArrayController> allSongsArrayController;
    QPointer<TableView> allSongsDetailView;
    QPointer<TableView> midiMessageTableView;
    QPointer<QWidget> masterView, songDetailsView, editView, performanceView;
    QPointer<MainMidi> engine;
    std::function<QList<ManagedObject*>()> returnFilteredArray;
    // The library's kept de-duplication, worked out again only when the list changed.
    LibraryFilter* filter = nullptr;

private:
    ManagedObject* selectedSong();
    QList<ManagedObject*> recordsOfPath(ManagedObject* song) const;
    void saveAndReload();
};

#pragma once

#include <QObject>
#include <QVariant>

class AllSongsTableViewController;
class ArrayController;
class LibraryFilter;
class MainMidi;
class MainWindow;
class QLineEdit;
class ManagedObject;
class ObjectContext;
class midiMessageTableViewController;

// Song-details mode: the song list to pick from, the song's MIDI out controls and its
// message table with the add and remove commands.
class SongDetailsScreen : public QObject {
    Q_OBJECT
public:
    SongDetailsScreen(MainWindow* window, ObjectContext* context, ArrayController* allSongs,
                      LibraryFilter* filter, AllSongsTableViewController* songList,
                      MainMidi* engine, QObject* parent);
    midiMessageTableViewController* messages() const { return messages_; }

    // Shows the picked song's MIDI out settings; with no song picked the controls are off.
    void showSelectedSong();

private:
    void wireDetailControls();
    // Stores what was typed into a number field, once, if it is a number the field takes.
    void commitField(QLineEdit* field, const char* key);
    ManagedObject* selectedSong() const;
    // A project is its path: the setting goes to every record of it, then to the file.
    void storeOnEveryRecord(const char* key, const QVariant& value);

    MainWindow* window_;
    ObjectContext* context_;
    LibraryFilter* filter_;
    AllSongsTableViewController* songList_;
    midiMessageTableViewController* messages_;
};

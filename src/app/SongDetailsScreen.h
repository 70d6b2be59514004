#pragma once

#include <QObject>

class AllSongsTableViewController;
class ArrayController;
class LibraryFilter;
class MainMidi;
class MainWindow;
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

private:
    midiMessageTableViewController* messages_;
};

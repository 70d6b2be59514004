#pragma once

#include "library/LibraryControllers.h"

#include <QObject>
#include <QVariant>
#include <functional>

class AllSongsTableViewController;
class ArrayController;
class LibraryFilter;
class MainMidi;
class ManagedObject;
class ObjectContext;
class SongDetailsView;
class midiMessageTableViewController;

// Song-details mode: the song list to pick from, the song's MIDI out settings and its message
// table with the add and remove commands.
class SongDetailsScreen : public QObject {
    Q_OBJECT
public:
    struct Dependencies {
        SongDetailsView* view = nullptr;
        LibraryControllers library;
        AllSongsTableViewController* songList = nullptr; // the picker's rows and its switch
        MainMidi* engine = nullptr;
        std::function<QWidget*()> shownModeView; // asked of the mode switch
    };
    explicit SongDetailsScreen(const Dependencies& dependencies, QObject* parent = nullptr);
    midiMessageTableViewController* messages() const { return messages_; }

    // Shows the picked song's MIDI out settings; with no song picked the controls are off.
    void showSelectedSong();

private:
    void wireDetailControls();
    ManagedObject* selectedSong() const;
    // A project is its path: the setting goes to every record of it, then to the file.
    void storeOnEveryRecord(const char* key, const QVariant& value);

    SongDetailsView* view_;
    ObjectContext* context_;
    LibraryFilter* filter_;
    AllSongsTableViewController* songList_;
    midiMessageTableViewController* messages_;
};

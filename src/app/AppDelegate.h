#pragma once

#include "library/LibraryControllers.h"
#include "midi/MidiHost.h"

#include <QObject>
#include <memory>

class ArrayController;
class DawControl;
class OscRemote;
class StageRemotes;
class StageRequests;
class StageState;
class EditScreen;
class LibraryFilter;
class LibraryStack;
class MainMidi;
class MainWindow;
class ModeSwitch;
class SegmentedControl;
class SongDetailsScreen;
class QAction;
class QWidget;
class ManagedObject;
class MidiServices;
class ObjectContext;
class Prefs;
class SongRecall;
class TableView;
class TriggerDispatch;

// The application controller: owns the library, the settings, the MIDI engine, the window
// and the array controllers for the whole run, and ties start-up, triggers and quitting
// together.
class AppDelegate : public QObject, public MidiHost {
    Q_OBJECT
public:
    explicit AppDelegate(std::unique_ptr<MidiServices> services, QObject* parent = nullptr);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();
    // True when the application may quit now.
    bool applicationShouldTerminate();
    void applicationWillTerminate();
    // Quit from the window or the menu: the save rule, then the clean-up.
    void requestQuit();
    // Quit on SIGINT or SIGTERM: save without asking, clean up, quit.
    void quitFromSignal();

    void controllerMidiDeviceChangeAlert();
    void controllerMidiDeviceInitialSetAlert();
    bool midiDeviceAlert() const { return midiDeviceAlert_; }
    void setMidiDeviceAlert(bool shown) { midiDeviceAlert_ = shown; }
    void midiDevicePopUpAction() override;
    void midiSpacebarTriggerDevicePopUpAction() override;
    void updateAllSongDetailView(qsizetype row);
    void handleNotification();
    void observeValueForKeyPath() {}
    void blankSetlist();
    void saveAction();
    // The main window's modes and commands (the window's own classes do the work).
    void shwoView(SegmentedControl* sender);
    void moveButtons();
    QWidget* currentView() const;
    void activeButton();
    void openPreferences();
    void openPreferencesWindow() { openPreferences(); }
    static bool isTopListOfSetlistsTableView(const TableView* table);
    static bool isSetlistTableView(const TableView* table);
    static bool isAllSongsTableView(const TableView* table);

    // MidiHost
    Prefs* sharedPrefs() override { return sharedPrefs_.get(); }
    MainMidi* mainMidiObject() override { return mainMidiObject_; }
    void checkMidi() override;
    void checkMidiWithSysex() override;

    LibraryStack& library() { return *library_; }
    ObjectContext* managedObjectContext();
    MainWindow* window() const { return window_.get(); }
    SongRecall* recall() const { return recall_; }
    EditScreen* editScreen() const { return editScreen_; }
    ModeSwitch* modes() const { return modes_; }
    SongDetailsScreen* songDetails() const { return songDetails_; }
    TriggerDispatch* dispatch() const { return dispatch_; }
    DawControl* dawControl() const { return dawControl_; }
    StageRemotes* remotes() const { return remotes_; }
    StageState* stageState() const { return stageState_; }
    OscRemote* oscRemote() const;
    // Gigmora.conf's DAW control, taken again (at launch and when the preferences change it).
    void applyDawSettings();
    // Sending songs' own MIDI on recall, turned on or off in the preferences.
    void applySongMessages(bool on);
    // Gigmora.conf's web remote, taken again when the preferences change it.
    void applyRemoteSettings();
    LibraryFilter* filter() const { return filter_.get(); }
    ArrayController* allSetlistsArrayController() const { return controllers_.allSetlists; }
    ArrayController* allSongsArrayController() const { return controllers_.allSongs; }
    ArrayController* currentSetlistArrayController() const { return controllers_.currentSetlist; }

signals:
    void quitRequested();

private:
    void wireWindow(ObjectContext* context);
    void addMenus(ObjectContext* context);
    bool rebuildMidiAfterDeviceChange(); // false when it ended early
    void wireModes();
    // Undo and Redo: in the edit mode, with something to undo or redo.
    void updateUndoMenu();
    void modeShown(int tag);
    // Undo and Redo never leave the library without a setlist to drop songs into.
    void keepASetlist();

    std::unique_ptr<MidiServices> services_;
    std::unique_ptr<LibraryStack> library_;
    std::unique_ptr<Prefs> sharedPrefs_;
    // Children of this object, alive as long as it is.
    MainMidi* mainMidiObject_ = nullptr;
    std::unique_ptr<LibraryFilter> filter_;
    // The array controllers are children of this object; the filter is filter_.
    LibraryControllers controllers_;
    std::unique_ptr<MainWindow> window_;
    SongRecall* recall_ = nullptr;
    EditScreen* editScreen_ = nullptr;
    ModeSwitch* modes_ = nullptr;
    SongDetailsScreen* songDetails_ = nullptr;
    TriggerDispatch* dispatch_ = nullptr;
    DawControl* dawControl_ = nullptr;
    StageRemotes* remotes_ = nullptr;
    StageState* stageState_ = nullptr;
    StageRequests* requests_ = nullptr;
    QAction* undoAction_ = nullptr;
    QAction* redoAction_ = nullptr;
    bool editing_ = true;
    bool midiDeviceAlert_ = false;
    bool terminated_ = false;
};

#include "app/AppDelegate.h"

#include "app/AppLog.h"
#include "app/CommandLine.h"
#include "app/EditScreen.h"
#include "app/EditView.h"
#include "app/MainWindow.h"
#include "app/ModeSwitch.h"
#include "app/MyPrefsWindowController.h"
#include "app/PerformanceView.h"
#include "app/RemotePrefsPane.h"
#include "app/RunningOrderPrinting.h"
#include "app/SongDetailsScreen.h"
#include "app/SongDetailsView.h"
#include "app/StageRemotes.h"
#include "daw/DawControl.h"
#include "editing/TableIdentity.h"
#include "library/ArrayController.h"
#include "library/LibraryFilter.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/ProjectRecords.h"
#include "midi/MainMidi.h"
#include "midi/MidiServices.h"
#include "performance/SongRecall.h"
#include "performance/StagePosition.h"
#include "performance/StageRequests.h"
#include "performance/StageState.h"
#include "performance/TriggerDispatch.h"
#include "platform/Alerts.h"
#include "platform/Error.h"
#include "platform/Guard.h"
#include "platform/GuardedConnect.h"
#include "platform/NotificationCenter.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"
#include "platform/UndoManager.h"
#include "settings/GigmoraConfig.h"
#include "settings/Prefs.h"

#include <QAction>
#include <QCheckBox>
#include <QMenuBar>
#include <QMessageBox>

AppDelegate::AppDelegate(std::unique_ptr<MidiServices> services, QObject* parent)
    : QObject(parent), services_(std::move(services)), library_(std::make_unique<LibraryStack>()),
      sharedPrefs_(std::make_unique<Prefs>()) {
    mainMidiObject_ = new MainMidi(*services_, this, this);
    ArrayController* allSetlists = new ArrayController(this);
    ArrayController* allSongs = new ArrayController(this);
    ArrayController* currentSetlist = new ArrayController(this);
    // Binding the controllers to the library opens the store, as loading the window does; the
    // rest of the launch uses this one request, so a store that fails is reported once.
    ObjectContext* context = library_->managedObjectContext();
    allSetlists->setManagedObjectContext(context);
    allSetlists->setEntityName("Setlist");
    allSetlists->setSortDescriptors(LibraryStack::allSetlistsSortDescriptor());
    allSongs->setManagedObjectContext(context);
    allSongs->setEntityName("Song");
    allSongs->setSortDescriptors(LibraryStack::allSongsSortDescriptor());
    currentSetlist->setManagedObjectContext(context);
    currentSetlist->bindContentArray(allSetlists, "song");
    filter_ = std::make_unique<LibraryFilter>(allSongs, allSetlists, context);
    dawControl_ = new DawControl(this); // what counts as a project is its to say
    controllers_.context = context;
    controllers_.allSetlists = allSetlists;
    controllers_.allSongs = allSongs;
    controllers_.currentSetlist = currentSetlist;
    controllers_.filter = filter_.get();
    controllers_.projectKind = &dawControl_->projectKind();

    window_ = std::make_unique<MainWindow>();
    MainWindow* w = window_.get();
    modes_ = new ModeSwitch(w, allSongs, allSetlists, this);
    SongDetailsView* details = w->songDetailsView();
    const auto updateDetail = [this](qsizetype row) { updateAllSongDetailView(row); };
    editScreen_ = new EditScreen(
        {w->editView(), w->menuBar(), controllers_, details->songPicker(), details->messageTable(),
         [details](bool on) { details->setMidiOutControlsEnabled(on); }, updateDetail},
        this);
    songDetails_ =
        new SongDetailsScreen({details, controllers_, editScreen_->songList(), mainMidiObject_,
                               [this] { return modes_->shownModeView(); }},
                              this);
    auto* position =
        new StagePosition(currentSetlist, w->editView()->setlistTableView(), dawControl_, this);
    recall_ = new SongRecall({w->editView()->setlistTableView(), position,
                              w->editView()->allSongsTableView(), this, mainMidiObject_,
                              sharedPrefs_.get(), context,
                              [this] { return filter_->returnFilteredArray(); }, w, dawControl_},
                             this);
    dispatch_ =
        new TriggerDispatch({recall_, sharedPrefs_.get(), this, &mainMidiObject_->capture()}, this);
    requests_ = new StageRequests(recall_, position, this);
    stageState_ =
        new StageState({filter_.get(), allSetlists, currentSetlist, position, dawControl_}, this);
    wireWindow(context);
    remotes_ = new StageRemotes({stageState_, requests_}, this);
    connect(remotes_, &StageRemotes::webRemoteChanged, w, &MainWindow::showRemoteIndicator);
}

AppDelegate::~AppDelegate() {
    TzPrefsWindowController::releaseShared();
    delete remotes_; // nothing reaches the remotes while the rest goes
    remotes_ = nullptr;
    NotificationCenter::defaultCenter().removeObserver(this);
    window_.reset();
    delete mainMidiObject_; // before the services it uses
    mainMidiObject_ = nullptr;
}

OscRemote* AppDelegate::oscRemote() const {
    return remotes_->oscRemote();
}

ObjectContext* AppDelegate::managedObjectContext() {
    return library_->managedObjectContext();
}

void AppDelegate::wireWindow(ObjectContext* context) {
    MainWindow* w = window_.get();
    TableView* songs = w->editView()->allSongsTableView();
    TableView* picker = w->songDetailsView()->songPicker();
    // The song list follows the library whatever changed it (an undo, a drop, a deletion).
    if (context) connect(context, &ObjectContext::objectsDidChange, songs, &TableView::reloadData);
    filter_->reloadSongs = [songs, picker] {
        songs->reloadData();
        picker->reloadData();
    };
    PerformanceView* stage = w->performanceView();
    connect(stage, &PerformanceView::nextClicked, requests_, &StageRequests::next);
    connect(stage, &PerformanceView::previousClicked, requests_, &StageRequests::previous);
    connect(stage, &PerformanceView::goToProjectClicked, requests_, &StageRequests::selected);
    connect(stage, &PerformanceView::recallByNumberClicked, requests_,
            &StageRequests::recordedNumber);
    guardedConnect(w->activeButton(), &QCheckBox::clicked, this,
                   "activeButton:", [this] { activeButton(); });
    guardedConnect(stageState_, &StageState::changed, stage, "showStage", [this, stage] {
        const StageSnapshot& now = stageState_->snapshot();
        stage->setNextSong(now.next);
        stage->setTimeLeft(now.timeLeft);
        stage->setDawState(now.state);
    });
    wireModes();
    addMenus(context);
    w->shouldClose = [this] {
        requestQuit();
        return terminated_;
    };
}

void AppDelegate::addMenus(ObjectContext* context) {
    MainWindow* w = window_.get();
    QMenu* file = w->menuBar()->addMenu("&File");
    guardedConnect(file->addAction("&Save", QKeySequence::Save), &QAction::triggered, this,
                   "saveAction:", [this] { saveAction(); });
    RunningOrderPrinting::addTo(file, controllers_.allSetlists, w);
    guardedConnect(file->addAction("&Quit", QKeySequence::Quit), &QAction::triggered, this,
                   "terminate:", [this] { requestQuit(); });
    QAction* prefs = file->addAction("&Preferences…", QKeySequence(QStringLiteral("Ctrl+,")));
    prefs->setMenuRole(QAction::PreferencesRole);
    guardedConnect(prefs, &QAction::triggered, this,
                   "openPreferencesWindow:", [this] { openPreferencesWindow(); });
    QMenu* edit = w->menuBar()->addMenu("&Edit");
    undoAction_ = edit->addAction("&Undo", QKeySequence::Undo);
    redoAction_ = edit->addAction("&Redo", QKeySequence::Redo);
    guardedConnect(undoAction_, &QAction::triggered, this, "undo:", [this] {
        if (ObjectContext* c = managedObjectContext()) {
            c->undoManager()->undo();
            keepASetlist();
        }
        updateUndoMenu();
    });
    guardedConnect(redoAction_, &QAction::triggered, this, "redo:", [this] {
        if (ObjectContext* c = managedObjectContext()) {
            c->undoManager()->redo();
            keepASetlist();
        }
        updateUndoMenu();
    });
    QMenu* help = w->menuBar()->addMenu("&Help");
    QAction* about = help->addAction("&About Gigmora");
    about->setMenuRole(QAction::AboutRole);
    about->setObjectName("aboutAction");
    guardedConnect(about, &QAction::triggered, this, "orderFrontStandardAboutPanel:", [this] {
        QMessageBox::about(window_.get(), "About Gigmora",
                           CommandLine::version().replace("gigmora", "Gigmora") +
                               "\n\nThe next DAW project of your setlist on a MIDI trigger.");
    });
    if (context)
        connect(context, &ObjectContext::objectsDidChange, this, &AppDelegate::updateUndoMenu);
    updateUndoMenu();
}

void AppDelegate::updateUndoMenu() {
    // Checked after every change and every step. Without a library they stay on: asking for
    // it tries the store again and says why it failed.
    ObjectContext* c = library_->hasContext() ? library_->managedObjectContext() : nullptr;
    undoAction_->setEnabled(editing_ && (!c || c->undoManager()->canUndo()));
    redoAction_->setEnabled(editing_ && (!c || c->undoManager()->canRedo()));
}

void AppDelegate::keepASetlist() {
    UndoManager* undo = managedObjectContext()->undoManager();
    const bool recording = undo->isUndoRegistrationEnabled();
    undo->setUndoRegistrationEnabled(false);
    filter_->checkNumberOfSetlists();
    undo->setUndoRegistrationEnabled(recording);
    if (controllers_.allSetlists->selectionIndexes().isEmpty() &&
        !controllers_.allSetlists->arrangedObjects().isEmpty())
        controllers_.allSetlists->setSelectionIndexes(IndexSet{0});
}

void AppDelegate::modeShown(int tag) {
    editing_ = tag == 0;
    editScreen_->setCommandsEnabled(editing_);
    updateUndoMenu();
}

void AppDelegate::wireModes() {
    MainWindow* w = window_.get();
    TableView* order = w->performanceView()->runningOrder();
    order->addTableColumn("title", "Song");
    order->bind("content", controllers_.currentSetlist, "arrangedObjects");
    order->bind("selectionIndexes", controllers_.currentSetlist, "selectionIndexes");
    connect(modes_, &ModeSwitch::modeShown, this, &AppDelegate::modeShown);
    guardedConnect(w->topButtons(), &SegmentedControl::activated, this,
                   "shwoView:", [this] { shwoView(window_->topButtons()); });
}

void AppDelegate::shwoView(SegmentedControl* sender) {
    modes_->shwoView(sender);
}

void AppDelegate::moveButtons() {
    modes_->moveButtons();
}

QWidget* AppDelegate::currentView() const {
    return modes_->currentView();
}

void AppDelegate::activeButton() {
    sharedPrefs_->prefsActive = window_->activeButton()->checkState() != Qt::Unchecked;
    sharedPrefs_->saveDataToDisk();
}

void AppDelegate::openPreferences() {
    MyPrefsWindowController* prefs = MyPrefsWindowController::sharedPrefsWindowController();
    prefs->setHost(this);
    connect(prefs, &MyPrefsWindowController::dawSettingsChanged, this,
            &AppDelegate::applyDawSettings, Qt::UniqueConnection);
    connect(prefs, &MyPrefsWindowController::remoteSettingsChanged, this,
            &AppDelegate::applyRemoteSettings, Qt::UniqueConnection);
    connect(prefs, &MyPrefsWindowController::songMessagesChanged, this,
            &AppDelegate::applySongMessages, Qt::UniqueConnection);
    prefs->showWindow();
}

void AppDelegate::applyRemoteSettings() {
    if (terminated_) return;
    remotes_->applyWebSettings();
    MyPrefsWindowController::sharedPrefsWindowController()->remotePane()->showProblem(
        remotes_->webProblem());
}

void AppDelegate::applySongMessages(bool on) {
    guarded("AppDelegate::applySongMessages", [&] {
        if (terminated_) return;
        // The song output comes and goes with the client's other ports, whose connections
        // are made again.
        mainMidiObject_->setSongOutput(on);
        mainMidiObject_->createMidiPort();
    });
}

void AppDelegate::applyDawSettings() {
    if (!terminated_) dawControl_->apply(GigmoraConfig::daw());
}

void AppDelegate::applicationDidFinishLaunching() {
    controllers_.allSongs->fetch();
    filter_->returnFilteredArray();
    filter_->checkNumberOfSetlists();
    filter_->checkNumberOfSongs();
    filter_->makePredicateTemplate();
    mainMidiObject_->setSongOutput(GigmoraConfig::midi().sendSongMessages);
    mainMidiObject_->createMidiPort();
    TableView* songs = window_->editView()->allSongsTableView();
    songs->selectRowIndexes({0}, false);
    songs->setFocus();
    songs->reloadData();
    // No defaults to register: every setting lives in the settings file.
    songs->reloadData();
    moveButtons();
    {
        const QSignalBlocker quiet(window_->activeButton());
        window_->activeButton()->setChecked(sharedPrefs_->prefsActive);
    }
    connect(controllers_.allSetlists, &ArrangedContent::selectionChanged, this,
            [this] { observeValueForKeyPath(); });
    connect(controllers_.currentSetlist, &ArrangedContent::selectionChanged, this,
            [this] { observeValueForKeyPath(); });
    NotificationCenter::defaultCenter().addObserver(
        this, "blankSetlistNotification", [this](const Notification&) { blankSetlist(); });
    sharedPrefs_->saveDataToDisk();
    applyDawSettings();
    remotes_->start();
    // What the start-up made (a first setlist) is where the person starts, not a step to undo.
    if (library_->hasContext()) managedObjectContext()->undoManager()->removeAllActions();
    updateUndoMenu();
}

bool AppDelegate::applicationShouldTerminate() {
    return library_->applicationShouldTerminate() == LibraryStack::TerminateReply::TerminateNow;
}

void AppDelegate::applicationWillTerminate() {
    if (terminated_) return;
    terminated_ = true;
    ObjectContext* context = library_->hasContext() ? library_->managedObjectContext() : nullptr;
    if (context) context->save();
    // The DAW Gigmora started ends with it, once the library is safe.
    dawControl_->shutdown();
    mainMidiObject_->disconnectAllMidi();
    // Songs without a path leave the context only; the store keeps them until a later save.
    if (context)
        for (ManagedObject* song : ProjectRecords::of(*context, QVariant()))
            context->deleteObject(song);
}

void AppDelegate::requestQuit() {
    if (terminated_) {
        emit quitRequested();
        return;
    }
    if (!applicationShouldTerminate()) return;
    applicationWillTerminate();
    emit quitRequested();
}

void AppDelegate::quitFromSignal() {
    qCInfo(lcApp) << "Quitting on a signal; the library is saved first.";
    // Nobody is there to answer: an edit that needs a question is dropped, the rest saved.
    const Alerts::Unattended unattended;
    if (!terminated_ && library_->hasContext()) {
        ObjectContext* context = library_->managedObjectContext();
        context->commitEditing();
        Error error;
        if (context->hasChanges() && !context->save(&error))
            qCWarning(lcApp).noquote()
                << "Could not save the library:" << error.localizedFailureReason;
    }
    applicationWillTerminate();
    emit quitRequested();
}

void AppDelegate::saveAction() {
    library_->saveAction();
}

void AppDelegate::controllerMidiDeviceChangeAlert() {
    if (midiDeviceAlert_) return;
    AlertSpec alert;
    alert.messageText = "Midi Alert";
    alert.informativeText =
        "The Selected Midi Device:\n'" + mainMidiObject_->uniqueIDDevice() + "'\nhas been removed";
    Alerts::shared().runModal(alert);
    midiDeviceAlert_ = true;
}

void AppDelegate::controllerMidiDeviceInitialSetAlert() {
    if (midiDeviceAlert_) return;
    AlertSpec alert;
    alert.messageText = "Midi Settings";
    alert.informativeText = "Please set your Midi Preferences";
    Alerts::shared().runModal(alert);
    midiDeviceAlert_ = true;
}

bool AppDelegate::rebuildMidiAfterDeviceChange() {
    mainMidiObject_->disconnectAllMidi();
    mainMidiObject_->createMidiPort();
    // Not offered by the engine: with the virtual port off the action ends here.
    if (!sharedPrefs_->prefsCreateVirtualPort &&
        !mainMidiObject_->perform("connectToMidiSourceWithUniqueID"))
        return false;
    if (sharedPrefs_->spacebarMidiTrigger)
        mainMidiObject_->connectToSpacebarMidiSourceWithUniqueID();
    return true;
}

void AppDelegate::midiDevicePopUpAction() {
    if (!rebuildMidiAfterDeviceChange()) return;
    midiDeviceAlert_ = false;
}

void AppDelegate::midiSpacebarTriggerDevicePopUpAction() {
    (void)rebuildMidiAfterDeviceChange();
}

void AppDelegate::updateAllSongDetailView(qsizetype row) {
    TableView* songs = window_->editView()->allSongsTableView();
    songs->selectRowIndexes({row}, false);
    songs->setFocus();
    songs->reloadData();
}

void AppDelegate::handleNotification() {
    recall_->setWindowPosition();
}

void AppDelegate::blankSetlist() {
    filter_->blankSetlist();
}

bool AppDelegate::isTopListOfSetlistsTableView(const TableView* table) {
    return TableIdentity::isTopListOfSetlistsTableView(table);
}
bool AppDelegate::isSetlistTableView(const TableView* table) {
    return TableIdentity::isSetlistTableView(table);
}
bool AppDelegate::isAllSongsTableView(const TableView* table) {
    return TableIdentity::isAllSongsTableView(table);
}

void AppDelegate::checkMidi() {
    dispatch_->checkMidi();
}
void AppDelegate::checkMidiWithSysex() {
    dispatch_->checkMidiWithSysex();
}

#include "app/AppDelegate.h"

#include "app/EditScreen.h"
#include "app/MainWindow.h"
#include "app/ModeSwitch.h"
#include "app/MyPrefsWindowController.h"
#include "app/SongDetailsScreen.h"
#include "library/ArrayController.h"
#include "library/FetchRequest.h"
#include "library/LibraryFilter.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "midi/MainMidi.h"
#include "midi/MidiServices.h"
#include "performance/SongRecall.h"
#include "performance/TriggerDispatch.h"
#include "platform/Alerts.h"
#include "platform/Error.h"
#include "platform/FontFaces.h"
#include "platform/Guard.h"
#include "platform/NotificationCenter.h"
#include "platform/SegmentedControl.h"
#include "platform/TableColumn.h"
#include "platform/TableView.h"
#include "platform/UndoManager.h"
#include "settings/Prefs.h"

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMenuBar>
#include <QPushButton>

Q_LOGGING_CATEGORY(lcApp, "gigmora.app")

namespace {
// Connects a Qt signal to an action that runs inside the guard.
template <typename Sender, typename Signal, typename F>
void action(Sender* sender, Signal signal, QObject* context, const char* name, F f) {
    QObject::connect(sender, signal, context, [name, f] { guarded(name, f); });
}
} // namespace

AppDelegate::AppDelegate(std::unique_ptr<MidiServices> services, QObject* parent)
    : QObject(parent), services_(std::move(services)), library_(std::make_unique<LibraryStack>()),
      sharedPrefs_(std::make_unique<Prefs>()) {
    MidiHost::setApplicationDelegate(this);
    mainMidiObject_ = new MainMidi(*services_, this);
    allSetlists_ = new ArrayController(this);
    allSongs_ = new ArrayController(this);
    currentSetlist_ = new ArrayController(this);
    // Binding the controllers to the library opens the store, as loading the window does; the
    // rest of the launch uses this one request, so a store that fails is reported once.
    ObjectContext* context = library_->managedObjectContext();
    allSetlists_->setManagedObjectContext(context);
    allSetlists_->setEntityName("Setlist");
    allSetlists_->setSortDescriptors(LibraryStack::allSetlistsSortDescriptor());
    allSongs_->setManagedObjectContext(context);
    allSongs_->setEntityName("Song");
    allSongs_->setSortDescriptors(LibraryStack::allSongsSortDescriptor());
    currentSetlist_->setManagedObjectContext(context);
    currentSetlist_->bindContentArray(allSetlists_, "song");
    filter_ = std::make_unique<LibraryFilter>(allSongs_, allSetlists_, context);

    window_ = std::make_unique<MainWindow>();
    recall_ = new SongRecall(this);
    dispatch_ = new TriggerDispatch(this);
    wireWindow(context);
}

AppDelegate::~AppDelegate() {
    TzPrefsWindowController::releaseShared();
    NotificationCenter::defaultCenter().removeObserver(this);
    if (MidiHost::applicationDelegate() == this) MidiHost::setApplicationDelegate(nullptr);
    window_.reset();
    delete mainMidiObject_; // before the services it uses
    mainMidiObject_ = nullptr;
}

ObjectContext* AppDelegate::managedObjectContext() {
    return library_->managedObjectContext();
}

void AppDelegate::wireWindow(ObjectContext* context) {
    MainWindow* w = window_.get();
    w->myTopListOfSetlistsTableView->addTableColumn("name", "Setlists", true);
    w->myTopListOfSetlistsTableView->bind("content", allSetlists_, "arrangedObjects");
    w->myTopListOfSetlistsTableView->bind("selectionIndexes", allSetlists_, "selectionIndexes");
    w->setlistTableView->addTableColumn("title", "Song");
    TableColumn number{"midiIn", "#"};
    number.width = 48;
    w->setlistTableView->addTableColumn(number);
    w->setlistTableView->bind("content", currentSetlist_, "arrangedObjects");
    w->setlistTableView->bind("selectionIndexes", currentSetlist_, "selectionIndexes");
    editScreen_ = new EditScreen(
        w, {context, allSetlists_, allSongs_, currentSetlist_, filter_.get()},
        [this](qsizetype row) { updateAllSongDetailView(row); }, this);
    // The song list follows the library whatever changed it (an undo, a drop, a deletion).
    if (context)
        connect(context, &ObjectContext::objectsDidChange, w->aSongsTableView,
                &TableView::reloadData);
    filter_->reloadSongs = [w] {
        w->aSongsTableView->reloadData();
        w->allSongsDetailView->reloadData();
    };

    recall_->setlistTableView = w->setlistTableView;
    recall_->aSongsTableView = w->aSongsTableView;
    recall_->notificationSender = this;
    recall_->mainMidiObject = mainMidiObject_;
    recall_->sharedPrefs = sharedPrefs_.get();
    recall_->context = context;
    recall_->returnFilteredArray = [this] { return filter_->returnFilteredArray(); };
    recall_->mainView = w->mainView;
    recall_->performanceView = w->performanceView;
    recall_->editView = w->editView;
    recall_->window = w;
    dispatch_->recall = recall_;
    dispatch_->sharedPrefs = sharedPrefs_.get();
    dispatch_->notificationSender = this;

    action(w->nextButton, &QPushButton::clicked, this, "runMyScriptInController",
           [this] { recall_->runMyScriptInController(); });
    action(w->previousButton, &QPushButton::clicked, this, "reverseMyScriptInController",
           [this] { recall_->reverseMyScriptInController(); });
    action(w->goButton, &QPushButton::clicked, this,
           "goToLogicProject:", [this] { recall_->goToLogicProject(); });
    action(w->byNumberButton, &QPushButton::clicked, this, "runMyScriptUsingProgChangeInController",
           [this] { recall_->runMyScriptUsingProgChangeInController(); });
    action(w->activeButton, &QCheckBox::clicked, this, "activeButton:", [this] { activeButton(); });
    QObject::connect(w->searchField, &QLineEdit::textChanged, this, [this](const QString& text) {
        guarded("changePredicate:", [&] { filter_->changePredicate(text); });
    });

    wireModes(context);
    addMenus(context);
    w->shouldClose = [this] {
        requestQuit();
        return terminated_;
    };
}

void AppDelegate::addMenus(ObjectContext* context) {
    MainWindow* w = window_.get();
    QMenu* file = w->menuBar()->addMenu("&File");
    action(file->addAction("&Save", QKeySequence::Save), &QAction::triggered, this,
           "saveAction:", [this] { saveAction(); });
    action(file->addAction("&Quit", QKeySequence::Quit), &QAction::triggered, this,
           "terminate:", [this] { requestQuit(); });
    QAction* prefs = file->addAction("&Preferences…", QKeySequence(QStringLiteral("Ctrl+,")));
    prefs->setMenuRole(QAction::PreferencesRole);
    action(prefs, &QAction::triggered, this,
           "openPreferencesWindow:", [this] { openPreferencesWindow(); });
    QMenu* edit = w->menuBar()->addMenu("&Edit");
    undoAction_ = edit->addAction("&Undo", QKeySequence::Undo);
    redoAction_ = edit->addAction("&Redo", QKeySequence::Redo);
    action(undoAction_, &QAction::triggered, this, "undo:", [this] {
        if (ObjectContext* c = managedObjectContext()) {
            c->undoManager()->undo();
            keepASetlist();
        }
        updateUndoMenu();
    });
    action(redoAction_, &QAction::triggered, this, "redo:", [this] {
        if (ObjectContext* c = managedObjectContext()) {
            c->undoManager()->redo();
            keepASetlist();
        }
        updateUndoMenu();
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
    if (allSetlists_->selectionIndexes().isEmpty() && !allSetlists_->arrangedObjects().isEmpty())
        allSetlists_->setSelectionIndexes(IndexSet{0});
}

void AppDelegate::modeShown(int tag) {
    editing_ = tag == 0;
    editScreen_->setCommandsEnabled(editing_);
    updateUndoMenu();
}

void AppDelegate::wireModes(ObjectContext* context) {
    MainWindow* w = window_.get();
    modes_ = new ModeSwitch(w, allSongs_, allSetlists_, this);
    songDetails_ = new SongDetailsScreen(w, context, allSongs_, filter_.get(),
                                         editScreen_->songList(), mainMidiObject_, this);
    w->performanceTableView->addTableColumn("title", "Song");
    w->performanceTableView->bind("content", currentSetlist_, "arrangedObjects");
    w->performanceTableView->bind("selectionIndexes", currentSetlist_, "selectionIndexes");
    // Queued: a trigger moves the selection, and its close command goes out first.
    for (auto signal :
         {&ArrangedContent::selectionChanged, &ArrangedContent::arrangedObjectsChanged})
        connect(
            currentSetlist_, signal, this,
            [this] { guarded("updateNextSong", [this] { modes_->updateNextSong(); }); },
            Qt::QueuedConnection);
    connect(modes_, &ModeSwitch::modeShown, this, &AppDelegate::modeShown);
    connect(w->topButtons, &SegmentedControl::activated, this,
            [this] { guarded("shwoView:", [this] { shwoView(window_->topButtons); }); });
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
    sharedPrefs_->prefsActive = window_->activeButton->checkState() != Qt::Unchecked;
    sharedPrefs_->saveDataToDisk();
}

void AppDelegate::openPreferences() {
    MyPrefsWindowController::sharedPrefsWindowController()->showWindow();
}

void AppDelegate::applicationDidFinishLaunching() {
    allSongs_->fetch();
    filter_->returnFilteredArray();
    filter_->checkNumberOfSetlists();
    filter_->checkNumberOfSongs();
    filter_->makePredicateTemplate();
    mainMidiObject_->createMidiPort();
    window_->aSongsTableView->selectRowIndexes({0}, false);
    window_->aSongsTableView->setFocus();
    window_->aSongsTableView->reloadData();
    // No defaults to register: every setting lives in the settings file.
    window_->aSongsTableView->reloadData();
    moveButtons();
    {
        const QSignalBlocker quiet(window_->activeButton);
        window_->activeButton->setChecked(sharedPrefs_->prefsActive);
    }
    connect(allSetlists_, &ArrangedContent::selectionChanged, this,
            [this] { observeValueForKeyPath(); });
    connect(currentSetlist_, &ArrangedContent::selectionChanged, this,
            [this] { observeValueForKeyPath(); });
    NotificationCenter::defaultCenter().addObserver(
        this, "blankSetlistNotification", [this](const Notification&) { blankSetlist(); });
    sharedPrefs_->saveDataToDisk();
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
    mainMidiObject_->disconnectAllMidi();
    // Songs without a path leave the context only; the store keeps them until a later save.
    if (context)
        for (ManagedObject* song :
             context->executeFetchRequest({"Song", Predicate::withFormat("path == %@"), {}, 0}))
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

void AppDelegate::rebuildMidiAfterDeviceChange() {
    mainMidiObject_->disconnectAllMidi();
    mainMidiObject_->createMidiPort();
    // Not offered by the engine: with the virtual port off the action ends here.
    if (!sharedPrefs_->prefsCreateVirtualPort)
        mainMidiObject_->perform("connectToMidiSourceWithUniqueID");
    if (sharedPrefs_->spacebarMidiTrigger)
        mainMidiObject_->connectToSpacebarMidiSourceWithUniqueID();
}

void AppDelegate::midiDevicePopUpAction() {
    rebuildMidiAfterDeviceChange();
    midiDeviceAlert_ = false;
}

void AppDelegate::midiSpacebarTriggerDevicePopUpAction() {
    rebuildMidiAfterDeviceChange();
}

void AppDelegate::updateAllSongDetailView(qsizetype row) {
    window_->aSongsTableView->selectRowIndexes({row}, false);
    window_->aSongsTableView->setFocus();
    window_->aSongsTableView->reloadData();
}

void AppDelegate::handleNotification() {
    recall_->setWindowPosition();
}

void AppDelegate::blankSetlist() {
    filter_->blankSetlist();
}

bool AppDelegate::isTopListOfSetlistsTableView(const TableView* table) {
    return table && table->autosaveName() == QLatin1String("topListOfSetlistsTableView");
}
bool AppDelegate::isSetlistTableView(const TableView* table) {
    return table && table->autosaveName() == QLatin1String("setlistTableView");
}
bool AppDelegate::isAllSongsTableView(const TableView* table) {
    return table && table->autosaveName() == QLatin1String("allSongsTableView");
}

void AppDelegate::checkMidi() {
    dispatch_->checkMidi();
}
void AppDelegate::checkMidiWithSysex() {
    dispatch_->checkMidiWithSysex();
}

#include "app/MainWindow.h"

#include "app/StageKeys.h"
#include "app/tables/AllSongsTableView.h"
#include "app/tables/MidiMessageTableVIew.h"
#include "app/tables/PerformanceSetlistTableView.h"
#include "app/tables/SetlistTableView.h"
#include "app/tables/TopListOfSetlistsTableView.h"
#include "platform/FontFaces.h"
#include "platform/Guard.h"
#include "platform/SegmentedControl.h"
#include "ui_MainWindow.h"

#include <QCloseEvent>

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent), ui_(std::make_unique<Ui::MainWindow>()) {
    ui_->setupUi(this);
    Ui::MainWindow& u = *ui_;
    aSongsTableView = u.allSongsTableView;
    allSongsDetailView = u.allSongsDetailView;
    myTopListOfSetlistsTableView = u.topListOfSetlistsTableView;
    setlistTableView = u.setlistTableView;
    performanceTableView = u.performanceTableView;
    midiMessageTableView = u.midiMessageTableView;
    currentSetlist = u.currentSetlist;
    nextSongLabel = u.nextSongLabel;
    songDeetsAllSessions = u.songDeetsAllSessions;
    backgroundView = u.backgroundView;
    performanceBackgroundView = u.performanceBackgroundView;
    topButtons = u.topButtons;
    activeButton = u.activeButton;
    searchField = u.searchField;
    previousButton = u.previousButton;
    nextButton = u.nextButton;
    goButton = u.goButton;
    byNumberButton = u.byNumberButton;
    newSetlistButton = u.newSetlistButton;
    removeSetlistButton = u.removeSetlistButton;
    addSongToSetlistButton = u.addSongToSetlistButton;
    removeFromSetlistButton = u.removeFromSetlistButton;
    deleteSongEverywhereButton = u.deleteSongEverywhereButton;
    addSongButton = u.addSongButton;
    deleteSongButton = u.deleteSongButton;
    deleteAllSongsButton = u.deleteAllSongsButton;
    addMidiMessageButton = u.addMidiMessageButton;
    removeMidiMessageButton = u.removeMidiMessageButton;
    midiEnableCheckBox = u.midiEnableCheckBox;
    midiMessageType = u.midiMessageType;
    midiChannel = u.midiChannel;
    progCcNumberTextField = u.progCcNumberTextField;
    ccValueTextField = u.ccValueTextField;
    mainView = u.mainView;
    masterView = u.masterView;
    editView = u.editView;
    performanceView = u.performanceView;
    songDetailsView = u.songDetailsView;

    // The delegates tell the tables apart by their autosave names.
    for (TableView* t : findChildren<TableView*>())
        t->setAutosaveName(t->objectName());
    midiMessageTableView->setAccessibleName("MIDI messages");
    // The stage palette of the pill tables: dark grey, light text; each mode view is opaque
    // over the edit screen.
    QPalette stage = masterView->palette();
    stage.setColor(QPalette::Window, QColor(0x1e, 0x1e, 0x21));
    stage.setColor(QPalette::WindowText, QColor(0xf2, 0xf2, 0xf2));
    masterView->setPalette(stage);
    for (QWidget* view : {masterView, performanceView, songDetailsView})
        view->setAutoFillBackground(true);
    performanceBackgroundView->lower();
    currentSetlist->setFont(FontFaces::font("Dosis-Bold", 28));
    nextSongLabel->setFont(FontFaces::font("Dosis-Medium", 22));
    songDeetsAllSessions->setFont(FontFaces::font("Dosis-Regular", 12));
    // Until a mode is chosen the window shows the edit screen alone.
    offstage_ = new QWidget(this);
    offstage_->setObjectName("offstage");
    offstage_->hide();
    removeFromSuperview(performanceView);
    removeFromSuperview(songDetailsView);
    topButtons->setSelectedSegment(0);
    new StageKeys(performanceView, nextButton, previousButton);
    // A click on the switch leaves the keyboard where it was (on stage, with the stage keys).
    activeButton->setFocusPolicy(Qt::TabFocus);
    setFixedSize(kWidth, kHeight);
}

MainWindow::~MainWindow() = default;

void MainWindow::removeFromSuperview(QWidget* view) {
    if (!view || view->parentWidget() == offstage_) return;
    view->hide();
    view->setParent(offstage_);
}

void MainWindow::addSubview(QWidget* superview, QWidget* view) {
    if (view->parentWidget() != superview) view->setParent(superview);
    view->show();
    view->raise();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    masterView->resize(mainView->size());
}

void MainWindow::closeEvent(QCloseEvent* event) {
    bool close = true;
    guarded("windowShouldClose", [&] { close = !shouldClose || shouldClose(); });
    if (close)
        event->accept();
    else
        event->ignore();
}

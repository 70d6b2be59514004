#include "app/MainWindow.h"

#include "app/tables/AllSongsTableView.h"
#include "app/tables/SetlistTableView.h"
#include "app/tables/TopListOfSetlistsTableView.h"
#include "platform/Guard.h"
#include "platform/TableView.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

namespace {
template <typename Table> TableView* makeTable(QWidget* parent, const QString& autosaveName) {
    auto* t = new Table(parent);
    t->setObjectName(autosaveName);
    t->setAutosaveName(autosaveName);
    return t;
}
} // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent) {
    setWindowTitle("Gigmora");
    mainView = new QWidget(this);
    setCentralWidget(mainView);
    auto* outer = new QVBoxLayout(mainView);

    performanceView = new QWidget(mainView);
    auto* top = new QHBoxLayout(performanceView);
    performanceSetlist = new QLabel("No Selection", performanceView);
    activeButton = new QCheckBox("Active", performanceView);
    previousButton = new QPushButton("Previous", performanceView);
    nextButton = new QPushButton("Next", performanceView);
    goButton = new QPushButton("Go to Project", performanceView);
    byNumberButton = new QPushButton("Recall by Number", performanceView);
    top->addWidget(performanceSetlist, 1);
    for (QWidget* w : {static_cast<QWidget*>(previousButton), static_cast<QWidget*>(nextButton),
                       static_cast<QWidget*>(goButton), static_cast<QWidget*>(byNumberButton),
                       static_cast<QWidget*>(activeButton)})
        top->addWidget(w);
    outer->addWidget(performanceView);

    editView = new QWidget(mainView);
    auto* edit = new QVBoxLayout(editView);
    edit->setContentsMargins(0, 0, 0, 0);
    auto* splitter = new QSplitter(Qt::Horizontal, editView);
    myTopListOfSetlistsTableView =
        makeTable<TopListOfSetlistsTableView>(splitter, "topListOfSetlistsTableView");
    setlistTableView = makeTable<SetlistTableView>(splitter, "setlistTableView");
    auto* songs = new QWidget(splitter);
    auto* songsLayout = new QVBoxLayout(songs);
    songsLayout->setContentsMargins(0, 0, 0, 0);
    searchField = new QLineEdit(songs);
    searchField->setPlaceholderText("Search titles");
    searchField->setClearButtonEnabled(true);
    aSongsTableView = makeTable<AllSongsTableView>(songs, "allSongsTableView");
    songsLayout->addWidget(searchField);
    songsLayout->addWidget(aSongsTableView);
    edit->addWidget(splitter);
    outer->addWidget(editView, 1);

    songDetailsView = new QWidget(mainView);
    auto* details = new QVBoxLayout(songDetailsView);
    details->setContentsMargins(0, 0, 0, 0);
    songDeetsAllSessions = new QLabel("All Sessions", songDetailsView);
    allSongsDetailView = makeTable<AllSongsTableView>(songDetailsView, "allSongsDetailView");
    details->addWidget(songDeetsAllSessions);
    details->addWidget(allSongsDetailView);
    songDetailsView->hide();
    outer->addWidget(songDetailsView);
    resize(900, 600);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    bool close = true;
    guarded("windowShouldClose", [&] { close = !shouldClose || shouldClose(); });
    if (close)
        event->accept();
    else
        event->ignore();
}

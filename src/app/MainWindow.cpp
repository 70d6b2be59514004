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
    // Each list with the commands that act on it underneath.
    auto column = [&](const QString& heading) {
        auto* box = new QWidget(splitter);
        auto* layout = new QVBoxLayout(box);
        layout->setContentsMargins(0, 0, 0, 0);
        auto* label = new QLabel(heading, box);
        label->setBuddy(box);
        layout->addWidget(label);
        return box;
    };
    auto buttons = [](QWidget* box, std::initializer_list<QPushButton**> outlets,
                      std::initializer_list<const char*> titles) {
        auto* row = new QHBoxLayout;
        auto title = titles.begin();
        for (QPushButton** outlet : outlets) {
            *outlet = new QPushButton(*title, box);
            (*outlet)->setAccessibleName(*title++);
            row->addWidget(*outlet);
        }
        row->addStretch();
        static_cast<QVBoxLayout*>(box->layout())->addLayout(row);
    };
    QWidget* setlists = column("Setlists");
    myTopListOfSetlistsTableView =
        makeTable<TopListOfSetlistsTableView>(setlists, "topListOfSetlistsTableView");
    setlists->layout()->addWidget(myTopListOfSetlistsTableView);
    buttons(setlists, {&newSetlistButton, &removeSetlistButton}, {"New Setlist", "Remove Setlist"});

    QWidget* current = column("Setlist");
    setlistTableView = makeTable<SetlistTableView>(current, "setlistTableView");
    current->layout()->addWidget(setlistTableView);
    buttons(current,
            {&addSongToSetlistButton, &removeFromSetlistButton, &deleteSongEverywhereButton},
            {"Add Song to Setlist…", "Remove from Setlist", "Delete Song Everywhere"});

    QWidget* songs = column("Songs");
    searchField = new QLineEdit(songs);
    searchField->setPlaceholderText("Search titles");
    searchField->setAccessibleName("Search titles");
    searchField->setClearButtonEnabled(true);
    aSongsTableView = makeTable<AllSongsTableView>(songs, "allSongsTableView");
    songs->layout()->addWidget(searchField);
    songs->layout()->addWidget(aSongsTableView);
    buttons(songs, {&addSongButton, &deleteSongButton, &deleteAllSongsButton},
            {"Add Song…", "Delete Song", "Delete All Songs…"});
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 3);
    splitter->setStretchFactor(2, 3);
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
    resize(1100, 650);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    bool close = true;
    guarded("windowShouldClose", [&] { close = !shouldClose || shouldClose(); });
    if (close)
        event->accept();
    else
        event->ignore();
}

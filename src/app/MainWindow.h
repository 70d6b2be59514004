#pragma once

#include <QMainWindow>
#include <functional>

class TableView;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

// The main window with the outlets the controller needs, laid out plainly: the list of
// setlists, the current setlist, the song list, the headings and the active switch.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);

    TableView* aSongsTableView;
    TableView* allSongsDetailView;
    TableView* myTopListOfSetlistsTableView;
    TableView* setlistTableView;
    QLabel* performanceSetlist;
    QLabel* songDeetsAllSessions;
    QCheckBox* activeButton;
    QLineEdit* searchField;
    QPushButton* previousButton;
    QPushButton* nextButton;
    QPushButton* goButton;
    QPushButton* byNumberButton;
    // The edit screen's commands.
    QPushButton* newSetlistButton;
    QPushButton* removeSetlistButton;
    QPushButton* addSongToSetlistButton;
    QPushButton* removeFromSetlistButton;
    QPushButton* deleteSongEverywhereButton;
    QPushButton* addSongButton;
    QPushButton* deleteSongButton;
    QPushButton* deleteAllSongsButton;
    QWidget* mainView;
    QWidget* editView;
    QWidget* performanceView;
    QWidget* songDetailsView;

    // Asked when the window is closed; false keeps it open.
    std::function<bool()> shouldClose;

protected:
    void closeEvent(QCloseEvent* event) override;
};

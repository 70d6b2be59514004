#pragma once

#include <QMainWindow>
#include <functional>
#include <memory>

class TableView;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class SegmentedControl;
namespace Ui {
class MainWindow;
}

// The main window from its form: the master view with the background (which carries the
// edit screen), the performance and song-details views over it, the mode selector and the
// active switch. The outlets are the form's widgets.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    static constexpr int kWidth = 486;
    static constexpr int kHeight = 660;

    TableView* aSongsTableView;
    TableView* allSongsDetailView;
    TableView* myTopListOfSetlistsTableView;
    TableView* setlistTableView;
    TableView* performanceTableView;
    TableView* midiMessageTableView;
    QLabel* currentSetlist;
    QLabel* nextSongLabel;
    QLabel* songDeetsAllSessions;
    QLabel* backgroundView;
    QLabel* performanceBackgroundView;
    SegmentedControl* topButtons;
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
    // The song details.
    QPushButton* addMidiMessageButton;
    QPushButton* removeMidiMessageButton;
    QCheckBox* midiEnableCheckBox;
    QComboBox* midiMessageType;
    QComboBox* midiChannel;
    QLineEdit* progCcNumberTextField;
    QLineEdit* ccValueTextField;
    QWidget* mainView;
    QWidget* masterView;
    QWidget* editView;
    QWidget* performanceView;
    QWidget* songDetailsView;

    // Views leave the window for a hidden holder, so they keep their owner and come back.
    void removeFromSuperview(QWidget* view);
    // Adds `view` to `superview` above its other subviews.
    void addSubview(QWidget* superview, QWidget* view);

    // Asked when the window is closed; false keeps it open.
    std::function<bool()> shouldClose;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    std::unique_ptr<Ui::MainWindow> ui_;
    QWidget* offstage_ = nullptr;
};

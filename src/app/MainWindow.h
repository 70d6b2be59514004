#pragma once

#include <QMainWindow>
#include <functional>

class EditView;
class PerformanceView;
class QCheckBox;
class QLabel;
class SegmentedControl;
class SongDetailsView;

// The main window puts the screens together: the master view with the background (which
// carries the edit screen), the Perform and Song Details screens over it, the mode selector
// the active switch and the web remote's indicator. What each screen shows and does is its own
// class's.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    static constexpr int kWidth = 486;
    static constexpr int kHeight = 660;

    QWidget* mainView() const { return mainView_; }
    QWidget* masterView() const { return masterView_; }
    QLabel* backgroundView() const { return backgroundView_; }
    EditView* editView() const { return editView_; }
    PerformanceView* performanceView() const { return performanceView_; }
    SongDetailsView* songDetailsView() const { return songDetailsView_; }
    SegmentedControl* topButtons() const { return topButtons_; }
    QCheckBox* activeButton() const { return activeButton_; }
    // A green dot beside Active while the web remote listens (`port`), hidden otherwise (0).
    QLabel* remoteIndicator() const { return remoteIndicator_; }
    void showRemoteIndicator(int port);

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
    QWidget* mainView_;
    QWidget* masterView_;
    QLabel* backgroundView_;
    EditView* editView_;
    PerformanceView* performanceView_;
    SongDetailsView* songDetailsView_;
    SegmentedControl* topButtons_;
    QCheckBox* activeButton_;
    QLabel* remoteIndicator_;
    QWidget* offstage_;
};

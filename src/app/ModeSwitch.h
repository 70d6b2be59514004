#pragma once

#include <QObject>
#include <QPointer>

class ArrayController;
class MainWindow;
class QPropertyAnimation;
class QWidget;
class SegmentedControl;

// The main window's three modes: editing (tag 0), performance (1) and song details (2). The
// mode is whichever mode view is a subview of the master view; editing adds none, since the
// edit screen lives on the background that every mode puts into the master view.
class ModeSwitch : public QObject {
    Q_OBJECT
public:
    ModeSwitch(MainWindow* window, ArrayController* allSongs, ArrayController* allSetlists,
               QObject* parent = nullptr);

    static constexpr int kModeViewX = 3, kModeViewY = 5; // y measured up from the bottom

    void shwoView(SegmentedControl* sender);
    void moveButtons();
    // The first subview of the window's content view.
    QWidget* currentView() const;
    // The mode view in the master view now (none while editing): the one place that looks.
    QWidget* shownModeView() const;
    QPropertyAnimation* buttonsAnimation() const { return buttonsAnimation_; }
    QPointer<QWidget> oldMasterSubview;
    QPointer<QWidget> oldMasterSubview2;

signals:
    // A mode has been put on screen (0 editing, 1 performance, 2 song details).
    void modeShown(int tag);

private:
    // Places `view` with its lower-left corner at (x, y) counted up from the bottom of its
    // superview.
    static void setOrigin(QWidget* view, int x, int y);
    bool isModeView(const QWidget* view) const;
    void showCurrentSetlistName();

    MainWindow* window_;
    ArrayController* allSongs_;
    ArrayController* allSetlists_;
    QPropertyAnimation* buttonsAnimation_ = nullptr;
};

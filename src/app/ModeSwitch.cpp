#include "app/ModeSwitch.h"

#include "app/EditView.h"
#include "app/MainWindow.h"
#include "app/PerformanceView.h"
#include "app/SongDetailsView.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "platform/RangeError.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"

#include <QAbstractItemModel>
#include <QCheckBox>
#include <QLabel>
#include <QPropertyAnimation>

namespace {
const QRect kButtonsFrameFromBottom(123, 614, 244, 20); // y up from the bottom of the master view
constexpr int kButtonsMs = 300;
} // namespace

ModeSwitch::ModeSwitch(MainWindow* window, ArrayController* allSongs, ArrayController* allSetlists,
                       QObject* parent)
    : QObject(parent), window_(window), allSongs_(allSongs), allSetlists_(allSetlists) {
    buttonsAnimation_ = new QPropertyAnimation(window_->topButtons(), "geometry", this);
    buttonsAnimation_->setDuration(kButtonsMs);
    buttonsAnimation_->setEasingCurve(QEasingCurve::OutCubic);
}

void ModeSwitch::setOrigin(QWidget* view, int x, int y) {
    const QWidget* super = view->parentWidget();
    const int height = super ? super->height() : view->height();
    view->move(x, height - y - view->height());
}

QWidget* ModeSwitch::currentView() const {
    const auto children = window_->mainView()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
    return children.isEmpty() ? nullptr : children.first();
}

void ModeSwitch::moveButtons() {
    QWidget* master = window_->masterView();
    const QRect to(kButtonsFrameFromBottom.x(), master->height() - kButtonsFrameFromBottom.y() - kButtonsFrameFromBottom.height(),
                   kButtonsFrameFromBottom.width(), kButtonsFrameFromBottom.height());
    buttonsAnimation_->stop();
    buttonsAnimation_->setStartValue(window_->topButtons()->geometry());
    buttonsAnimation_->setEndValue(to);
    buttonsAnimation_->start();
}

bool ModeSwitch::isModeView(const QWidget* view) const {
    const MainWindow* w = window_;
    return view == w->performanceView() || view == w->editView() || view == w->songDetailsView();
}

QWidget* ModeSwitch::shownModeView() const {
    QWidget* shown = nullptr;
    for (QWidget* v : window_->masterView()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (isModeView(v)) shown = v; // the last one found
    return shown;
}

void ModeSwitch::shwoView(SegmentedControl* sender) {
    const int tag = sender->tagForSegment(sender->selectedSegment());
    if (tag < 0 || tag > 2) return;
    MainWindow* w = window_;
    QWidget* master = w->masterView();
    for (QWidget* v : master->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (isModeView(v)) oldMasterSubview2 = v;
    w->removeFromSuperview(oldMasterSubview2);
    for (QWidget* v : master->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (v->property("tag").toInt() == 1) oldMasterSubview = v;
    w->removeFromSuperview(oldMasterSubview);

    // One size in every mode; the top edge stays where it is.
    const QRect frame = w->geometry();
    w->setGeometry(frame.x(), frame.y(), MainWindow::kWidth, MainWindow::kHeight);

    // The background and the mode views fill the master view below the mode selector.
    constexpr int kTopStrip = 31; // the mode selector's row
    const int below = kModeViewY + kTopStrip;
    w->backgroundView()->resize(MainWindow::kWidth, master->height() - kTopStrip);
    w->addSubview(master, w->backgroundView());
    setOrigin(w->backgroundView(), 0, 0);
    // Under another mode the edit screen is out of reach: no focus, no screen reader.
    w->editView()->setVisible(tag == 0);
    // Before anything below can fail: the edit commands follow the mode in every case.
    emit modeShown(tag);
    if (tag == 0) {
        w->addSubview(master, w->activeButton());
        allSongs_->fetch();
        w->editView()->setlistTableView()->setFocus();
        w->editView()->allSongsTableView()->reloadData();
        return;
    }
    QWidget* view = tag == 1 ? static_cast<QWidget*>(w->performanceView())
                             : static_cast<QWidget*>(w->songDetailsView());
    view->resize(MainWindow::kWidth - 2 * kModeViewX, master->height() - below);
    if (tag == 1) // positioned, never added
        setOrigin(w->performanceView()->backgroundView(), 0, 0);
    w->addSubview(master, view);
    setOrigin(view, kModeViewX, kModeViewY);
    if (tag == 1) view->setFocus(); // the stage keys live there
    w->addSubview(master, w->topButtons());
    w->addSubview(master, w->activeButton());
    if (tag == 1) {
        w->performanceView()->backgroundView()->resize(view->size());
        showCurrentSetlistName();
        return;
    }
    allSongs_->fetch();
    w->songDetailsView()->songPicker()->setFocus();
    w->songDetailsView()->songPicker()->reloadData();
}

void ModeSwitch::showCurrentSetlistName() {
    const qsizetype row = window_->editView()->topListOfSetlistsTableView()->selectedRow();
    if (row < 0) {
        window_->performanceView()->setSetlistName("No Selection");
        return;
    }
    const QVariant name =
        RangeError::checkedAt(allSetlists_->arrangedObjects(), row)->value("name");
    window_->performanceView()->setSetlistName(name.isValid() ? name.toString()
                                                              : "Selected Setlist");
}

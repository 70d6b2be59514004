#include "app/MainWindow.h"

#include "app/EditView.h"
#include "app/PerformanceView.h"
#include "app/SongDetailsView.h"
#include "platform/Guard.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QLabel>
#include <QVBoxLayout>

namespace {
// The screens' places in the master view (top-left origin): the selector's strip on top, the
// background below it, the mode views inset on it.
const QRect kMasterFrame(0, 0, MainWindow::kWidth, 640);
const QRect kBackgroundFrame(0, 31, MainWindow::kWidth, 609);
const QRect kModeViewFrame(3, 55, 480, 580);
const QRect kButtonsFrame(123, 4, 244, 20);
const QRect kActiveFrame(392, 8, 90, 20);
const QRect kRemoteIndicatorFrame(374, 11, 12, 12);
} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent), mainView_(new QWidget(this)), masterView_(new QWidget(mainView_)),
      backgroundView_(new QLabel(masterView_)), editView_(new EditView(backgroundView_)),
      performanceView_(new PerformanceView(masterView_)),
      songDetailsView_(new SongDetailsView(masterView_)),
      topButtons_(new SegmentedControl(masterView_)), activeButton_(new QCheckBox(masterView_)),
      remoteIndicator_(new QLabel(masterView_)), offstage_(new QWidget(this)) {
    setWindowTitle("Gigmora");
    setCentralWidget(mainView_);
    mainView_->setObjectName("mainView");
    masterView_->setObjectName("masterView");
    masterView_->setGeometry(kMasterFrame);
    backgroundView_->setObjectName("backgroundView");
    backgroundView_->setAccessibleName("Background");
    backgroundView_->setGeometry(kBackgroundFrame);
    backgroundView_->setPixmap(QPixmap(":/images/background.svg"));
    backgroundView_->setScaledContents(true);
    auto* background = new QVBoxLayout(backgroundView_);
    background->setContentsMargins(6, 6, 6, 6);
    background->addWidget(editView_);
    for (QWidget* view :
         {static_cast<QWidget*>(performanceView_), static_cast<QWidget*>(songDetailsView_)})
        view->setGeometry(kModeViewFrame);
    topButtons_->setObjectName("topButtons");
    topButtons_->setAccessibleName("Mode");
    topButtons_->setLabels({"Edit", "Perform", "Song Details"});
    topButtons_->setGeometry(kButtonsFrame);
    activeButton_->setObjectName("activeButton");
    activeButton_->setText("Active");
    activeButton_->setAccessibleName("Active");
    activeButton_->setGeometry(kActiveFrame);
    // A click on the switch leaves the keyboard where it was (on stage, with the stage keys).
    activeButton_->setFocusPolicy(Qt::TabFocus);
    remoteIndicator_->setObjectName("remoteIndicator");
    remoteIndicator_->setGeometry(kRemoteIndicatorFrame);
    remoteIndicator_->setStyleSheet("background: #43c463; border-radius: 6px;");
    remoteIndicator_->hide();

    // The delegates tell the tables apart by their autosave names.
    for (TableView* t : findChildren<TableView*>())
        t->setAutosaveName(t->objectName());
    // The stage palette of the pill tables: dark grey, light text.
    QPalette stage = masterView_->palette();
    stage.setColor(QPalette::Window, QColor(0x1e, 0x1e, 0x21));
    stage.setColor(QPalette::WindowText, QColor(0xf2, 0xf2, 0xf2));
    masterView_->setPalette(stage);
    masterView_->setAutoFillBackground(true);
    // Until a mode is chosen the window shows the edit screen alone.
    offstage_->setObjectName("offstage");
    offstage_->hide();
    removeFromSuperview(performanceView_);
    removeFromSuperview(songDetailsView_);
    topButtons_->setSelectedSegment(0);
    resize(kWidth, kHeight);
    setFixedSize(kWidth, kHeight);
}

MainWindow::~MainWindow() = default;

void MainWindow::showRemoteIndicator(int port) {
    const QString text = QStringLiteral("Web remote on, port %1").arg(port);
    remoteIndicator_->setAccessibleName(port ? QStringLiteral("Remote on") : QString());
    remoteIndicator_->setAccessibleDescription(port ? text : QString());
    remoteIndicator_->setToolTip(port ? text : QString());
    remoteIndicator_->setVisible(port != 0);
}

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
    masterView_->resize(mainView_->size());
}

void MainWindow::closeEvent(QCloseEvent* event) {
    bool close = true;
    guarded("windowShouldClose", [&] { close = !shouldClose || shouldClose(); });
    if (close)
        event->accept();
    else
        event->ignore();
}

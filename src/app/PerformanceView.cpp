#include "app/PerformanceView.h"

#include "app/StageKeys.h"
#include "platform/FontFaces.h"
#include "ui_PerformanceView.h"

PerformanceView::PerformanceView(QWidget* parent)
    : QWidget(parent), ui_(std::make_unique<Ui::PerformanceView>()) {
    ui_->setupUi(this);
    setObjectName("performanceView");
    setAutoFillBackground(true); // opaque over the edit screen
    ui_->performanceBackgroundView->lower();
    ui_->currentSetlist->setFont(FontFaces::font("Dosis-Bold", 28));
    ui_->nextSongLabel->setFont(FontFaces::font("Dosis-Medium", 22));
    ui_->dawStateLabel->setFont(FontFaces::font("Dosis-Medium", 16));
    ui_->dawStateLabel->hide();
    ui_->timeLeftLabel->setFont(FontFaces::font("Dosis-Medium", 18));
    ui_->timeLeftLabel->hide();
    connect(ui_->nextButton, &QPushButton::clicked, this, &PerformanceView::nextClicked);
    connect(ui_->previousButton, &QPushButton::clicked, this, &PerformanceView::previousClicked);
    connect(ui_->goButton, &QPushButton::clicked, this, &PerformanceView::goToProjectClicked);
    connect(ui_->byNumberButton, &QPushButton::clicked, this,
            &PerformanceView::recallByNumberClicked);
    new StageKeys(this, ui_->nextButton, ui_->previousButton);
}

PerformanceView::~PerformanceView() = default;

TableView* PerformanceView::runningOrder() const {
    return ui_->performanceTableView;
}

QWidget* PerformanceView::backgroundView() const {
    return ui_->performanceBackgroundView;
}

void PerformanceView::setSetlistName(const QString& name) {
    ui_->currentSetlist->setText(name);
}

QString PerformanceView::setlistName() const {
    return ui_->currentSetlist->text();
}

void PerformanceView::setNextSong(const QString& text) {
    ui_->nextSongLabel->setText(text);
}

QString PerformanceView::nextSong() const {
    return ui_->nextSongLabel->text();
}

void PerformanceView::setTimeLeft(const QString& text) {
    ui_->timeLeftLabel->setText(text);
    ui_->timeLeftLabel->setVisible(!text.isEmpty());
}

QString PerformanceView::timeLeft() const {
    return ui_->timeLeftLabel->text();
}

void PerformanceView::setDawState(const QString& text) {
    ui_->dawStateLabel->setText(text);
    ui_->dawStateLabel->setVisible(!text.isEmpty());
}

QString PerformanceView::dawState() const {
    return ui_->dawStateLabel->text();
}

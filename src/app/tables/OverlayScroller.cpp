#include "app/tables/OverlayScroller.h"

#include <QAbstractScrollArea>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionSlider>
#include <QTimer>

OverlayScroller::OverlayScroller(QAbstractScrollArea* area)
    : QScrollBar(Qt::Vertical, area), area_(area), source_(area->verticalScrollBar()),
      hide_(new QTimer(this)) {
    setObjectName("overlayScroller");
    setAccessibleName(area->accessibleName() + " scroller");
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    hide_->setSingleShot(true);
    hide_->setInterval(kShowMs);
    connect(hide_, &QTimer::timeout, this, &OverlayScroller::fade);
    setRange(source_->minimum(), source_->maximum());
    setPageStep(source_->pageStep());
    connect(source_, &QScrollBar::rangeChanged, this, [this](int min, int max) {
        setRange(min, max);
        setPageStep(source_->pageStep());
        if (max <= min) hide();
    });
    connect(source_, &QScrollBar::valueChanged, this, [this](int value) {
        setValue(value);
        flash();
    });
    connect(this, &QScrollBar::valueChanged, source_, &QScrollBar::setValue);
    viewport_ = area_->viewport();
    area_->installEventFilter(this);
    viewport_->installEventFilter(this);
    viewport_->setMouseTracking(true);
    hide();
}

void OverlayScroller::flash() {
    if (maximum() <= minimum()) return;
    place();
    show();
    raise();
    hide_->start();
}

void OverlayScroller::fade() {
    if (!underMouse() && !isSliderDown()) hide();
}

void OverlayScroller::place() {
    if (!viewport_) return;
    const QRect port = viewport_->geometry();
    setGeometry(port.right() + 1 - kWidth, port.top(), kWidth, port.height());
}

bool OverlayScroller::eventFilter(QObject* watched, QEvent* event) {
    // Only these two kinds are looked at; any other event may come while the list is being
    // taken apart, when it is no scroll area any more.
    if (event->type() == QEvent::Resize && watched == area_) place();
    if (event->type() == QEvent::MouseMove && watched == viewport_) {
        const auto* move = static_cast<QMouseEvent*>(event);
        if (move->position().x() >= viewport_->width() - 2 * kWidth) flash();
    }
    return false;
}

void OverlayScroller::enterEvent(QEnterEvent* event) {
    QScrollBar::enterEvent(event);
    hide_->stop();
}

void OverlayScroller::leaveEvent(QEvent* event) {
    QScrollBar::leaveEvent(event);
    hide_->start();
}

void OverlayScroller::paintEvent(QPaintEvent*) {
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect knob =
        style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xf2, 0xf2, 0xf2, isSliderDown() || underMouse() ? 200 : 140));
    const QRectF bar = QRectF(knob).adjusted(1.5, 1, -1.5, -1);
    painter.drawRoundedRect(bar, bar.width() / 2, bar.width() / 2);
}

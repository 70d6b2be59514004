#include "app/tables/AllLocatorsScrollView.h"

#include <QPaintEvent>
#include <QPainter>
#include <QStyleOptionSlider>

const QColor AllLocatorsScrollView::kFill =
    QColor::fromRgbF(0.4609375f, 0.49609375f, 0.53125f, 1.0f);

AllLocatorsScrollView::AllLocatorsScrollView(QWidget* parent) : QScrollBar(Qt::Vertical, parent) {
    setAttribute(Qt::WA_MacMiniSize); // the mini control size, where a style knows it
    setFixedWidth(scrollerWidth());
}

QSize AllLocatorsScrollView::sizeHint() const {
    return {scrollerWidth(), QScrollBar::sizeHint().height()};
}

void AllLocatorsScrollView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), kFill);
    QStyleOptionSlider option;
    initStyleOption(&option);
    option.subControls = QStyle::SC_ScrollBarSlider;
    style()->drawComplexControl(QStyle::CC_ScrollBar, &option, &painter, this);
}

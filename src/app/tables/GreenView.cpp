#include "app/tables/GreenView.h"

#include <QPainter>

void GreenView::paintEvent(QPaintEvent* event) {
    QWidget::paintEvent(event);
    QPainter(this).fillRect(rect(), QColor::fromRgbF(0.0f, 1.0f, 0.0f, 1.0f));
}

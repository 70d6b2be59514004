#include "app/tables/PillPainter.h"

#include "app/tables/PillColors.h"

#include <QPainter>
#include <QPainterPath>

QPainterPath PillPainter::pill(const QRectF& row) {
    QPainterPath path;
    path.addRoundedRect(row.adjusted(1.0, 1.0, -1.0, -1.0), row.height() * 0.25,
                        row.height() * 0.5);
    return path;
}

void PillPainter::paint(QPainter& painter, const QRect& row, const QRect& clip,
                        const QColor& background, const QColor& fill) {
    painter.save();
    painter.fillRect(row.intersected(clip), background);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(pill(row), fill);
    painter.restore();
}

void PillPainter::paintRow(QPainter& painter, const QRect& row, const QRect& clip,
                           const PillColors& colors, bool selected, bool focused) {
    const QColor& fill = !selected ? colors.unselected
                         : focused ? colors.selectedFocused
                                   : colors.selectedUnfocused;
    paint(painter, row, clip, colors.background, fill);
}

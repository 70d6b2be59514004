#include "app/tables/SetlistTableRowView.h"

#include "app/tables/PillPainter.h"

#include <QColor>

void SetlistTableRowView::drawRect(QPainter& painter, const QRect& rowRect, const QRect& dirty,
                                   bool selected, bool emphasized) {
    const QColor background = QColor::fromRgbF(0.1796875f, 0.1796875f, 0.1796875f, 1.0f);
    const QColor fill =
        selected ? QColor::fromRgbF(0.1796875f, 0.40625f, 0.234375f, emphasized ? 1.0f : 0.8f)
                 : QColor::fromRgbF(0.23828125f, 0.23828125f, 0.23828125f, 1.0f);
    PillPainter::paint(painter, rowRect, dirty, background, fill);
}

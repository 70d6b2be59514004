#pragma once

#include <QRect>

class QColor;
class QPainter;
class QPainterPath;
struct PillColors;

// The dark rounded bar every row of the custom tables is drawn as.
class PillPainter {
public:
    // The row's rectangle inset by 1.0, with corner radii of a quarter of the row's height
    // across and half of it down (the two differ on purpose).
    static QPainterPath pill(const QRectF& row);
    // Fills the row's part of `clip` with `background`, then the pill with `fill`.
    static void paint(QPainter& painter, const QRect& row, const QRect& clip,
                      const QColor& background, const QColor& fill);
    // A table row by its table's colours.
    static void paintRow(QPainter& painter, const QRect& row, const QRect& clip,
                         const PillColors& colors, bool selected, bool focused);
};

#pragma once

#include <QRect>

class QPainter;

// Draws one row's background behind its cells, as a row view does.
class TableRowView {
public:
    virtual ~TableRowView() = default;
    // `rowRect` is the row's visible rectangle, `dirty` what needs painting; `emphasized`
    // while the table has the keyboard focus in the active window.
    virtual void drawRect(QPainter& painter, const QRect& rowRect, const QRect& dirty,
                          bool selected, bool emphasized) = 0;
};

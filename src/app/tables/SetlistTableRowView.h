#pragma once

#include "platform/TableRowView.h"

// A setlist row drawn as its own view: the green pill when selected (half opaque when the
// table has no focus), dark grey otherwise.
class SetlistTableRowView : public TableRowView {
public:
    void drawRect(QPainter& painter, const QRect& rowRect, const QRect& dirty, bool selected,
                  bool emphasized) override;
};

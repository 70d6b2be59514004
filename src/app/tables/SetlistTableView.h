#pragma once

#include "app/tables/PillTableView.h"

// A setlist's songs: green pills for the selection, dark grey for the rest; takes songs,
// setlist rows and files; a right click selects the row under it and announces itself.
class SetlistTableView : public PillTableView {
    Q_OBJECT
public:
    static const PillColors kColors;
    explicit SetlistTableView(QWidget* parent = nullptr);
    QMenu* menuForEvent(QContextMenuEvent* event) override;
};

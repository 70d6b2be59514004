#pragma once

#include "app/tables/PillTableView.h"

// The running order on stage: large type, the current song in the setlist green, read from a
// few metres away. Nothing is dragged or typed here.
class PerformanceSetlistTableView : public PillTableView {
    Q_OBJECT
public:
    explicit PerformanceSetlistTableView(QWidget* parent = nullptr);
};

#pragma once

#include "app/tables/PillColors.h"
#include "platform/TableView.h"

// A table whose rows are pills in its own colours, in place of Qt's selection highlight.
class PillTableView : public TableView {
    Q_OBJECT
public:
    PillTableView(const PillColors& colors, QWidget* parent);
    const PillColors& pillColors() const { return colors_; }

protected:
    void drawRow(QPainter& painter, qsizetype row, const QRect& rowRect,
                 const QRect& clip) override;

private:
    PillColors colors_;
};

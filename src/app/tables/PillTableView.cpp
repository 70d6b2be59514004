#include "app/tables/PillTableView.h"

#include "app/tables/PillPainter.h"

#include <QItemSelectionModel>

PillTableView::PillTableView(const PillColors& colors, QWidget* parent)
    : TableView(parent), colors_(colors) {
    setPaintsSelection(false);
    setShowGrid(false);
}

void PillTableView::drawRow(QPainter& painter, qsizetype row, const QRect& rowRect,
                            const QRect& clip) {
    PillPainter::paintRow(painter, rowRect, clip, colors_,
                          selectionModel()->isRowSelected(int(row), {}), hasKeyFocus());
}

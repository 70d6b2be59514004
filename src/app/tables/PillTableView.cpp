#include "app/tables/PillTableView.h"

#include "app/tables/PillPainter.h"

#include <QItemSelectionModel>

PillTableView::PillTableView(const PillColors& colors, QWidget* parent)
    : TableView(parent), colors_(colors) {
    setPaintsSelection(false);
    setCellInset(8);
    setShowGrid(false);
    // Below the last row the table shows its row background; text stays readable on the
    // darker pills.
    QPalette p = palette();
    p.setColor(QPalette::Base, colors.background);
    const bool dark = colors.unselected.lightnessF() < 0.4;
    p.setColor(QPalette::Text, dark ? QColor(235, 235, 235) : QColor(20, 20, 20));
    p.setColor(QPalette::HighlightedText, p.color(QPalette::Text));
    setPalette(p);
}

void PillTableView::drawRow(QPainter& painter, qsizetype row, const QRect& rowRect,
                            const QRect& clip) {
    PillPainter::paintRow(painter, rowRect, clip, colors_,
                          selectionModel()->isRowSelected(int(row), {}), hasKeyFocus());
}

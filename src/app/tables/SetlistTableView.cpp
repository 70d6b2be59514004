#include "app/tables/SetlistTableView.h"

#include "library/TransferRecords.h"
#include "platform/NotificationCenter.h"
#include "platform/Pasteboard.h"

#include <QContextMenuEvent>

const PillColors SetlistTableView::kColors{
    QColor::fromRgbF(0.1796875f, 0.40625f, 0.234375f, 0.8f),
    QColor::fromRgbF(0.1796875f, 0.40625f, 0.234375f, 1.0f),
    QColor::fromRgbF(0.1796875f, 0.1796875f, 0.1796875f, 1.0f),
    QColor::fromRgbF(0.23828125f, 0.23828125f, 0.23828125f, 1.0f),
};

SetlistTableView::SetlistTableView(QWidget* parent) : PillTableView(kColors, parent) {
    setAccessibleName("Setlist songs");
    registerForDraggedTypes({TransferRecords::allsongTableViewType,
                             TransferRecords::setlistTableViewType, Pasteboard::kFileURLType});
}

QMenu* SetlistTableView::menuForEvent(QContextMenuEvent* event) {
    const qsizetype row = rowAt(event->pos().y()); // the viewport's coordinates
    if (row < 0) return nullptr;
    if (row != selectedRow()) selectRowIndexes({row}, false);
    NotificationCenter::defaultCenter().post("rightClickNotification");
    return menu();
}

#include "app/tables/AllSongsTableView.h"

#include "app/tables/AllLocatorsScrollView.h"
#include "app/tables/OverlayScroller.h"
#include "library/TransferRecords.h"
#include "platform/NotificationCenter.h"
#include "platform/Pasteboard.h"

const PillColors AllSongsTableView::kColors{
    QColor::fromRgbF(0.671875f, 0.671875f, 0.671875f, 1.0f),
    QColor::fromRgbF(0.671875f, 0.671875f, 0.671875f, 1.0f),
    QColor::fromRgbF(0.4140625f, 0.4140625f, 0.4140625f, 1.0f),
    QColor::fromRgbF(0.671875f, 0.671875f, 0.671875f, 0.7f),
};

AllSongsTableView::AllSongsTableView(QWidget* parent) : PillTableView(kColors, parent) {
    setAccessibleName("All songs");
    setVerticalScrollBar(new AllLocatorsScrollView(this));
    new OverlayScroller(this); // the zero-width scroller's visible stand-in
    registerForDraggedTypes({TransferRecords::allsongTableViewType, Pasteboard::kFileURLType});
    reloadData();
}

void AllSongsTableView::textDidEndEditing() {
    NotificationCenter::defaultCenter().post("songsChangedNotification");
}

#include "app/tables/CurrentSetlistTableView.h"

#include "library/TransferRecords.h"
#include "platform/Pasteboard.h"

CurrentSetlistTableView::CurrentSetlistTableView(QWidget* parent) : TableView(parent) {
    setAccessibleName("Current setlist");
    registerForDraggedTypes({TransferRecords::allsongTableViewType, Pasteboard::kFilenamesType});
}

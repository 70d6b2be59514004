#include "app/tables/TopListOfSetlistsTableView.h"

#include "library/TransferRecords.h"
#include "platform/FontFaces.h"
#include "platform/NotificationCenter.h"

const PillColors TopListOfSetlistsTableView::kColors{
    QColor::fromRgbF(0.7265625f, 0.7265625f, 0.7265625f, 0.6f),
    QColor::fromRgbF(0.7265625f, 0.7265625f, 0.7265625f, 0.7f),
    QColor::fromRgbF(0.4140625f, 0.4140625f, 0.4140625f, 1.0f),
    QColor::fromRgbF(0.4921875f, 0.4921875f, 0.4921875f, 0.7f),
};

TopListOfSetlistsTableView::TopListOfSetlistsTableView(QWidget* parent)
    : PillTableView(kColors, parent) {
    setAccessibleName("Setlists");
    registerForDraggedTypes(
        {TransferRecords::allsongTableViewType, TransferRecords::setlistTableViewType});
}

DataCell TopListOfSetlistsTableView::dataCellForTableColumn(const TableColumn&, qsizetype) {
    return {FontFaces::font("Dosis-Medium", 10)};
}

void TopListOfSetlistsTableView::textDidEndEditing() {
    NotificationCenter::defaultCenter().post("blankSetlistNotification");
}

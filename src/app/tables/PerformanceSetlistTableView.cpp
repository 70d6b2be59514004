#include "app/tables/PerformanceSetlistTableView.h"

#include "app/tables/SetlistTableView.h"
#include "platform/FontFaces.h"

#include <QHeaderView>

PerformanceSetlistTableView::PerformanceSetlistTableView(QWidget* parent)
    : PillTableView(SetlistTableView::kColors, parent) {
    setAccessibleName("Running order");
    setFont(FontFaces::font("Dosis-SemiBold", 20));
    verticalHeader()->setDefaultSectionSize(40);
    horizontalHeader()->hide();
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setFocusPolicy(Qt::NoFocus);
}

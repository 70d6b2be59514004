#include "app/tables/SongPickerTableView.h"

#include "app/tables/AllSongsTableView.h"

const PillColors SongPickerTableView::kColors{
    QColor::fromRgbF(0.56f, 0.82f, 0.42f, 0.8f),
    QColor::fromRgbF(0.56f, 0.82f, 0.42f, 1.0f),
    AllSongsTableView::kColors.background,
    AllSongsTableView::kColors.unselected,
};

SongPickerTableView::SongPickerTableView(QWidget* parent) : PillTableView(kColors, parent) {
    setAccessibleName("Pick a song");
    setEditTriggers(QAbstractItemView::NoEditTriggers);
}

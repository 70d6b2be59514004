#include "app/tables/SongPickerTableView.h"

// The song list's background and pills, spelled out: another file's constant may not be
// initialised yet while this one is.
const PillColors SongPickerTableView::kColors{
    QColor::fromRgbF(0.56f, 0.82f, 0.42f, 0.8f),
    QColor::fromRgbF(0.56f, 0.82f, 0.42f, 1.0f),
    QColor::fromRgbF(0.4140625f, 0.4140625f, 0.4140625f, 1.0f),
    QColor::fromRgbF(0.671875f, 0.671875f, 0.671875f, 0.7f),
};

SongPickerTableView::SongPickerTableView(QWidget* parent) : PillTableView(kColors, parent) {
    setAccessibleName("Pick a song");
    setEditTriggers(QAbstractItemView::NoEditTriggers);
}

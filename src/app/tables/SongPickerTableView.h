#pragma once

#include "app/tables/PillTableView.h"

// The song list of the song-details mode, where a click picks the song whose details show:
// the song list's pale pills, the picked one in light green.
class SongPickerTableView : public PillTableView {
    Q_OBJECT
public:
    static const PillColors kColors;
    explicit SongPickerTableView(QWidget* parent = nullptr);
};

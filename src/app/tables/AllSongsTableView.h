#pragma once

#include "app/tables/PillTableView.h"

// The song list: light grey pills, drags of songs and files from the file manager, and a
// notice when a title edit ends.
class AllSongsTableView : public PillTableView {
    Q_OBJECT
public:
    static const PillColors kColors;
    explicit AllSongsTableView(QWidget* parent = nullptr);

protected:
    void textDidEndEditing() override;
};

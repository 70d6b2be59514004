#pragma once

#include <QColor>

// A custom table's colours, device RGB with alpha: the selected row's pill without and with
// the focus, the flat row background, and the other rows' pill.
struct PillColors {
    QColor selectedUnfocused;
    QColor selectedFocused;
    QColor background;
    QColor unselected;
};

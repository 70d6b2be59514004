#pragma once

class ArrayController;
class QAction;
class QMenu;
class QWidget;

// File ▸ Print Running Order…: the setlist chosen in the window's list of setlists, through
// the print dialog, which also saves it as a PDF.
class RunningOrderPrinting {
public:
    // The command, added to `menu`; the dialog opens over `window`.
    static QAction* addTo(QMenu* menu, ArrayController* setlists, QWidget* window);
};

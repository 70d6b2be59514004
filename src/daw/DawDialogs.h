#pragma once

#include <QString>
#include <memory>

// Looks on the X display (X11 or XWayland) for a dialog window that a DAW's process shows: a
// DAW waiting on a question answers nothing else until someone clicks. Without a display it
// sees nothing.
class DawDialogs {
public:
    DawDialogs();
    ~DawDialogs();
    DawDialogs(const DawDialogs&) = delete;
    DawDialogs& operator=(const DawDialogs&) = delete;

    // The title of a dialog that the process `pid` shows now (its question, such as "Sample
    // Rate Mismatch"); empty when it shows none.
    QString question(qint64 pid);

private:
    struct Display;
    std::unique_ptr<Display> display_;
};

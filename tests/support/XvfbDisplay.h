#pragma once

#include <QProcess>

// A display of its own for a real program's window: Xvfb on a free display, which DISPLAY
// then names. A test that needs it fails (never skips) when Xvfb cannot run.
class XvfbDisplay {
public:
    void start(); // use with ASSERT_NO_FATAL_FAILURE
    ~XvfbDisplay();

private:
    QProcess xvfb_;
};

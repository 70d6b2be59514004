#pragma once

#include <QString>

// Points HOME and the XDG folders into a temporary folder that is removed at exit.
class TempHome {
public:
    static void installForProcess();
    static QString home();
    static QString dataHome(); // XDG_DATA_HOME
    // Removes everything under the temporary home (between tests).
    static void clear();
};

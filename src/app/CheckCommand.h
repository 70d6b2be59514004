#pragma once

#include <QStringList>

class QTextStream;

// `gigmora check [--setlist NAME] [--json]`: every song of the setlist (every setlist without
// --setlist) checked as the chosen DAW control would load it, each problem named, each length
// known, and the set's total. It only reads: not the library, not a session, not the DAW's
// configuration.
class CheckCommand {
public:
    // Returns the exit status: 0 every song passes, 65 a song has a problem, 1 the store cannot
    // be read, 2 no such setlist, 64 a wrong command line.
    static int run(const QStringList& arguments, QTextStream& out, QTextStream& err);
};

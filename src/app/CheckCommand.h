#pragma once

#include <QStringList>

class QTextStream;

// `gigmora check [--setlist NAME] [--json] [--load]`: every song of the setlist (every setlist
// without --setlist) checked as the chosen DAW control would load it, each problem named, each
// length known, and the set's total. It only reads: not the library, not a session, not the
// DAW's configuration. With --load it then loads each song in a DAW of its own, which writes
// only that DAW's own files.
class CheckCommand {
public:
    // Returns the exit status: 0 every song passes, 65 a song has a problem or does not load,
    // 1 the store cannot be read, 2 no such setlist, 64 a wrong command line.
    static int run(const QStringList& arguments, QTextStream& out, QTextStream& err);
};

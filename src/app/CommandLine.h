#pragma once

#include <QStringList>
#include <optional>

class QTextStream;

// What `gigmora` answers before any window, MIDI system or library: --help, --version, and
// a usage error for anything it does not know. `export` is its own command (ExportCommand).
class CommandLine {
public:
    static constexpr int kUsageError = 64; // as sysexits' EX_USAGE
    static QString usage();
    static QString version(); // "gigmora 0.1"
    // The exit status when the arguments end here; nothing when the window is to start.
    static std::optional<int> handle(const QStringList& arguments, QTextStream& out,
                                     QTextStream& err);
};

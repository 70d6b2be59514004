#pragma once

#include <QStringList>

class QTextStream;

// `gigmora export [--json] [--setlist NAME]`: prints the library at the standard place for
// backups and printed running orders. It only reads; the store is never written.
class ExportCommand {
public:
    // Returns the process exit code.
    static int run(const QStringList& arguments, QTextStream& out, QTextStream& err);
};

#pragma once

#include <QStringList>

class QTextStream;

// `gigmora export [--json | --pdf FILE] [--setlist NAME]`: prints the library at the standard
// place for backups and printed running orders, or writes the running orders as a PDF. It only
// reads; the store is never written.
class ExportCommand {
public:
    // Returns the process exit code: 0 done, 1 the store cannot be read, 2 no such setlist (or
    // none to print), 64 a wrong command line, 73 the PDF cannot be written (no part of it is
    // left behind).
    static int run(const QStringList& arguments, QTextStream& out, QTextStream& err);
};

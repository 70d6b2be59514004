#include "support/PdfReading.h"

#include <QProcess>

namespace pdf {
QStringList pageTexts(const QString& file) {
    QProcess p;
    p.start("pdftotext", {"-enc", "UTF-8", file, "-"});
    if (!p.waitForFinished(30000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        return {};
    QStringList pages = QString::fromUtf8(p.readAllStandardOutput()).split('\f');
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty()) pages.removeLast();
    return pages;
}
} // namespace pdf

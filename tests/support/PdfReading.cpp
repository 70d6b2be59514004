#include "support/PdfReading.h"

#include <QHash>
#include <QProcess>
#include <QRegularExpression>

namespace {
QString run(const QString& program, const QStringList& arguments) {
    QProcess p;
    p.start(program, arguments);
    if (!p.waitForFinished(30000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        return {};
    return QString::fromUtf8(p.readAllStandardOutput());
}

QString unescaped(QString s) {
    s.remove(QRegularExpression("<[^>]*>")); // pdftohtml's <b> and <i>
    return s.replace("&lt;", "<")
        .replace("&gt;", ">")
        .replace("&quot;", "\"")
        .replace("&#34;", "\"")
        .replace("&#39;", "'")
        .replace("&amp;", "&");
}

double attribute(const QRegularExpressionMatch& m, const QString& name) {
    return m.captured(name).toDouble();
}
} // namespace

namespace pdf {
QStringList pageTexts(const QString& file) {
    QStringList pages = run("pdftotext", {"-enc", "UTF-8", file, "-"}).split('\f');
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty()) pages.removeLast();
    return pages;
}

QList<Word> words(const QString& file, QList<QSizeF>* pageSizes) {
    static const QRegularExpression element(
        R"re(<page width="(?<w>[\d.]+)" height="(?<h>[\d.]+)">|<word xMin="(?<x0>[\d.]+)" )re"
        R"re(yMin="(?<y0>[\d.]+)" xMax="(?<x1>[\d.]+)" yMax="(?<y1>[\d.]+)">(?<t>[^<]*)</word>)re");
    QList<Word> out;
    int page = -1;
    for (const auto& m : element.globalMatch(run("pdftotext", {"-bbox", file, "-"}))) {
        if (!m.captured("w").isEmpty()) {
            ++page;
            if (pageSizes) *pageSizes << QSizeF(attribute(m, "w"), attribute(m, "h"));
            continue;
        }
        out << Word{page, unescaped(m.captured("t")),
                    QRectF(QPointF(attribute(m, "x0"), attribute(m, "y0")),
                           QPointF(attribute(m, "x1"), attribute(m, "y1")))};
    }
    return out;
}

QList<Run> runs(const QString& file) {
    // pdftohtml gives whole sizes; at its largest scale, three times, they keep a third of a
    // point.
    static const QRegularExpression element(
        R"re(<page number="(?<page>\d+)"|<fontspec id="(?<id>\d+)" size="(?<size>-?\d+)"|)re"
        R"re(<text [^>]*font="(?<font>\d+)"[^>]*>(?<t>.*)</text>)re");
    QList<Run> out;
    QHash<QString, qreal> sizes;
    int page = -1;
    const QString xml = run("pdftohtml", {"-xml", "-i", "-stdout", "-zoom", "3", file});
    for (const auto& m : element.globalMatch(xml)) {
        if (!m.captured("page").isEmpty())
            page = m.captured("page").toInt() - 1;
        else if (!m.captured("id").isEmpty())
            sizes.insert(m.captured("id"), attribute(m, "size") / 3);
        else
            out << Run{page, unescaped(m.captured("t")), sizes.value(m.captured("font"))};
    }
    return out;
}
} // namespace pdf

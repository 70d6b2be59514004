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

double number(const QRegularExpressionMatch& m, const char* name) {
    return m.captured(name).toDouble() / 3; // pdftohtml's scale, below
}
} // namespace

namespace pdf {
QStringList pageTexts(const QString& file) {
    QStringList pages = run("pdftotext", {"-enc", "UTF-8", file, "-"}).split('\f');
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty()) pages.removeLast();
    return pages;
}

QList<Run> runs(const QString& file) {
    // pdftohtml gives whole sizes; at three times the scale they keep a third of a point.
    static const QRegularExpression element(
        R"re(<page number="\d+"[^>]*width="(?<pw>\d+)"|)re"
        R"re(<fontspec id="(?<id>\d+)" size="(?<size>-?\d+)"|)re"
        R"re(<text [^>]*left="(?<l>-?\d+)" width="(?<w>\d+)")re"
        R"re([^>]*font="(?<font>\d+)"[^>]*>(?<t>.*)</text>)re");
    QList<Run> out;
    QHash<QString, qreal> sizes;
    qreal pageWidth = 0;
    const QString xml = run("pdftohtml", {"-xml", "-i", "-stdout", "-zoom", "3", file});
    for (const auto& m : element.globalMatch(xml)) {
        if (!m.captured("pw").isEmpty())
            pageWidth = number(m, "pw");
        else if (!m.captured("id").isEmpty())
            sizes.insert(m.captured("id"), number(m, "size"));
        else
            out << Run{unescaped(m.captured("t")), sizes.value(m.captured("font")), number(m, "l"),
                       number(m, "l") + number(m, "w"), pageWidth};
    }
    return out;
}
} // namespace pdf

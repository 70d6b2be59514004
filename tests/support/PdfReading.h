#pragma once

#include <QList>
#include <QRectF>
#include <QString>
#include <QStringList>

// A PDF as Poppler's tools read it back: what a reader's software finds in the file, not what
// the program meant to write. Empty results when the file cannot be read.
namespace pdf {
struct Word {
    int page; // from 0
    QString text;
    QRectF box; // in points, from the page's top left
};
// A line of text in one face and size.
struct Run {
    int page;
    QString text;
    qreal points;
};

// Each page's text in reading order.
QStringList pageTexts(const QString& file);
// Every word with its box, and each page's size in points.
QList<Word> words(const QString& file, QList<QSizeF>* pageSizes = nullptr);
// The text with its font sizes, to a third of a point.
QList<Run> runs(const QString& file);
} // namespace pdf

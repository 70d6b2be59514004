#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// A PDF as Poppler's tools read it back: what a reader's software finds in the file, not what
// the program meant to write. Empty results when the file cannot be read.
namespace pdf {
struct Run { // a line of text in one face and size
    QString text;
    qreal points;
    qreal left, right, pageWidth; // in points
};

// Each page's text in reading order.
QStringList pageTexts(const QString& file);
// The text with its font sizes, to a third of a point.
QList<Run> runs(const QString& file);
} // namespace pdf

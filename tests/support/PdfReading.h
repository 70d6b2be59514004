#pragma once

#include <QString>
#include <QStringList>

// A PDF as Poppler's tools read it back: what a reader's software finds in the file, not what
// the program meant to write. Empty when the file cannot be read.
namespace pdf {
// Each page's text in reading order.
QStringList pageTexts(const QString& file);
} // namespace pdf

#pragma once

#include <QFont>
#include <QString>

// Fonts by their face names ("Dosis-Medium" and the like), from the faces the application
// carries in its resources under :/fonts.
class FontFaces {
public:
    // Adds the carried faces to the font database; once, on the first call.
    static void load();
    static QFont font(const QString& faceName, qreal points);
};

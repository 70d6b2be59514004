#pragma once

#include <QString>
#include <QStringList>
#include <Qt>

// One column of a table: what its cells show and how they are edited.
struct TableColumn {
    enum class Cell { Text, Integer, CheckBox, PopUp };

    QString identifier = {};
    QString title = {};
    bool editable = false;
    Cell cell = Cell::Text;
    Qt::TextElideMode elide = Qt::ElideRight; // text cells
    QStringList items = {};                   // pop-up cells: the item titles, by index
    int minimum = 0, maximum = 0;             // integer cells: what the editor accepts
    QString invalidReason = {};               // integer cells: shown when a key is refused
    int width = 0; // fixed width in pixels; columns without one share what is left
};

#include "app/tables/MidiMessageTableVIew.h"

const PillColors MidiMessageTableVIew::kColors{
    QColor::fromRgbF(0.734375f, 0.75390625f, 0.76953125f, 0.4f),
    QColor::fromRgbF(0.834375f, 0.85390625f, 0.86953125f, 0.6f),
    QColor::fromRgbF(0.79f, 0.79f, 0.8f, 1.0f),
    QColor::fromRgbF(0.4609375f, 0.49609375f, 0.53125f, 1.0f),
};

MidiMessageTableVIew::MidiMessageTableVIew(QWidget* parent) : PillTableView(kColors, parent) {
    setAccessibleName("MIDI messages");
}

#pragma once

#include "app/tables/PillTableView.h"

// A song's MIDI messages: pale pills on a light background.
class MidiMessageTableVIew : public PillTableView {
    Q_OBJECT
public:
    static const PillColors kColors;
    explicit MidiMessageTableVIew(QWidget* parent = nullptr);
};

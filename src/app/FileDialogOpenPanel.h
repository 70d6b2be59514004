#pragma once

#include "platform/OpenPanel.h"

// The open panel as a file dialog of Qt's own (the same on every desktop) that takes files
// and folders alike: a folder chosen with the confirming button is an answer, not a place to
// go into.
class FileDialogOpenPanel : public OpenPanel {
public:
    Result runModal(const QString& prompt) override;
};

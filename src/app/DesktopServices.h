#pragma once

#include "app/FileDialogOpenPanel.h"
#include "app/MessageBoxAlerts.h"

// The platform services a person sees, installed for as long as this lives: alerts as message
// boxes and the open panel as a file dialog. Without it the library's commands would meet the
// silent stand-ins (no question asked, no file chosen).
class DesktopServices {
public:
    DesktopServices();
    ~DesktopServices();
    DesktopServices(const DesktopServices&) = delete;
    DesktopServices& operator=(const DesktopServices&) = delete;

private:
    MessageBoxAlerts alerts_;
    FileDialogOpenPanel openPanel_;
};

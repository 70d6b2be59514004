#include "app/DesktopServices.h"

DesktopServices::DesktopServices() {
    Alerts::setShared(&alerts_);
    OpenPanel::setShared(&openPanel_);
}

DesktopServices::~DesktopServices() {
    Alerts::setShared(nullptr);
    OpenPanel::setShared(nullptr);
}

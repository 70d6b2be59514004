#include "platform/OpenPanel.h"

#include <QDebug>

namespace {
// Where nothing can ask (the export command, before the window exists): always cancelled.
class NoOpenPanel : public OpenPanel {
public:
    Result runModal(const QString& prompt) override {
        qWarning().noquote() << "No open panel to ask:" << prompt;
        return {};
    }
};
OpenPanel* g_panel = nullptr;
} // namespace

OpenPanel& OpenPanel::shared() {
    static NoOpenPanel fallback;
    return g_panel ? *g_panel : fallback;
}

void OpenPanel::setShared(OpenPanel* panel) {
    g_panel = panel;
}

#include "support/ScriptedOpenPanel.h"

OpenPanel::Result ScriptedOpenPanel::runModal(const QString& prompt) {
    prompts << prompt;
    if (answers.empty()) return {};
    Result r = answers.front();
    answers.pop_front();
    return r;
}

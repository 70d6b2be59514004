#pragma once

#include "platform/OpenPanel.h"

#include <deque>

// Answers open panels from a script (cancel when it runs out) and counts the questions.
class ScriptedOpenPanel : public OpenPanel {
public:
    Result runModal(const QString& prompt) override;
    std::deque<Result> answers;
    QStringList prompts;
};

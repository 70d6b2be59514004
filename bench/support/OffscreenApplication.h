#pragma once

#include "app/AppDelegate.h"
#include "support/ScriptedAlerts.h"

#include <QApplication>
#include <memory>

// The whole application without MIDI, launched offscreen in a temporary home with scripted
// alerts: what the benchmarks drive.
class OffscreenApplication {
public:
    OffscreenApplication(int& argc, char** argv);
    ~OffscreenApplication();

    AppDelegate& app() { return *app_; }
    ScriptedAlerts alerts;

private:
    std::unique_ptr<QApplication> qapp_;
    std::unique_ptr<AppDelegate> app_;
};

#pragma once

#include "platform/Alerts.h"

class QWidget;

// Alerts as modal message boxes, the confirming button first.
class MessageBoxAlerts : public Alerts {
public:
    explicit MessageBoxAlerts(QWidget* parent = nullptr) : parent_(parent) {}
    int runModal(const AlertSpec& alert) override;
    bool presentError(const Error& error) override;

private:
    QWidget* parent_;
};

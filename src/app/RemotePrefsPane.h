#pragma once

#include "settings/GigmoraConfig.h"

#include <QWidget>
#include <memory>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
namespace Ui {
class RemotePrefsPane;
}

// The "Remote" pane: the web remote's settings in Gigmora.conf, stored when changed, with the
// page's address on each network interface and a QR code of the address and PIN for a phone.
class RemotePrefsPane : public QWidget {
    Q_OBJECT
public:
    explicit RemotePrefsPane(QWidget* parent = nullptr);
    ~RemotePrefsPane() override;

    // Shows what Gigmora.conf holds.
    void showSettings();
    // Why the remote that is on does not listen, in place of its addresses.
    void showProblem(const QString& problem);

    QCheckBox* enabledBox() const;
    QSpinBox* portBox() const;
    QLineEdit* pinEdit() const;
    QPushButton* newPinButton() const;
    QLineEdit* addressEdit() const;
    QLabel* addressesLabel() const;
    QLabel* qrLabel() const;
    // What the QR code holds ("" while the remote is off).
    QString qrText() const { return qrText_; }

signals:
    // The settings were changed and stored.
    void settingsChanged();

private:
    void edited();
    void newPin();
    void showAddresses(const GigmoraConfig::Remote& remote);

    std::unique_ptr<Ui::RemotePrefsPane> ui_;
    QString qrText_;
};

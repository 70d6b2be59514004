#include "app/RemotePrefsPane.h"

#include "platform/GuardedConnect.h"
#include "remote/QrCode.h"
#include "remote/RemoteAddresses.h"
#include "settings/GigmoraConfig.h"
#include "ui_RemotePrefsPane.h"

#include <QHostAddress>
#include <QRegularExpressionValidator>

RemotePrefsPane::RemotePrefsPane(QWidget* parent)
    : QWidget(parent), ui_(std::make_unique<Ui::RemotePrefsPane>()) {
    ui_->setupUi(this);
    ui_->prefsRemotePin->setValidator(new QRegularExpressionValidator(
        QRegularExpression(QStringLiteral("[0-9]{0,8}")), ui_->prefsRemotePin));
    const auto edit = [this] { edited(); };
    guardedConnect(ui_->prefsRemoteEnabled, &QCheckBox::clicked, this, "remoteEnabled", edit);
    guardedConnect(ui_->prefsRemotePort, &QSpinBox::editingFinished, this, "remotePort", edit);
    guardedConnect(ui_->prefsRemotePin, &QLineEdit::editingFinished, this, "remotePin", edit);
    guardedConnect(ui_->prefsRemoteAddress, &QLineEdit::editingFinished, this, "remoteAddress",
                   edit);
    guardedConnect(ui_->newRemotePin, &QPushButton::clicked, this, "newRemotePin",
                   [this] { newPin(); });
    showSettings();
}

RemotePrefsPane::~RemotePrefsPane() = default;

QCheckBox* RemotePrefsPane::enabledBox() const {
    return ui_->prefsRemoteEnabled;
}
QSpinBox* RemotePrefsPane::portBox() const {
    return ui_->prefsRemotePort;
}
QLineEdit* RemotePrefsPane::pinEdit() const {
    return ui_->prefsRemotePin;
}
QPushButton* RemotePrefsPane::newPinButton() const {
    return ui_->newRemotePin;
}
QLineEdit* RemotePrefsPane::addressEdit() const {
    return ui_->prefsRemoteAddress;
}
QLabel* RemotePrefsPane::addressesLabel() const {
    return ui_->remoteAddresses;
}
QLabel* RemotePrefsPane::qrLabel() const {
    return ui_->remoteQrCode;
}

void RemotePrefsPane::showSettings() {
    const GigmoraConfig::Remote r = GigmoraConfig::remote();
    ui_->prefsRemoteEnabled->setChecked(r.enabled);
    ui_->prefsRemotePort->setValue(r.port);
    ui_->prefsRemotePin->setText(r.pin);
    ui_->prefsRemoteAddress->setText(r.address);
    showAddresses(r);
}

void RemotePrefsPane::edited() {
    const GigmoraConfig::Remote before = GigmoraConfig::remote();
    GigmoraConfig::Remote r = before;
    r.enabled = ui_->prefsRemoteEnabled->isChecked();
    r.port = ui_->prefsRemotePort->value();
    // A PIN too short to be one is not taken; the stored one stays.
    if (GigmoraConfig::isPin(ui_->prefsRemotePin->text())) r.pin = ui_->prefsRemotePin->text();
    if (r.enabled && r.pin.isEmpty()) r.pin = GigmoraConfig::makePin();
    const QString address = ui_->prefsRemoteAddress->text().trimmed();
    if (address.isEmpty() || !QHostAddress(address).isNull()) r.address = address;
    if (r != before) GigmoraConfig::setRemote(r);
    showSettings(); // what the file holds now
    if (r != before) emit settingsChanged();
}

void RemotePrefsPane::newPin() {
    ui_->prefsRemotePin->setText(GigmoraConfig::makePin());
    edited();
}

void RemotePrefsPane::showAddresses(const GigmoraConfig::Remote& r) {
    if (!r.enabled) {
        qrText_.clear();
        ui_->remoteAddresses->setText(QStringLiteral("The web remote is off."));
        ui_->remoteQrCode->clear();
        return;
    }
    const QStringList pages = RemoteAddresses::pageAddresses(r.address, r.port);
    ui_->remoteAddresses->setText(QStringLiteral("Open on a phone: ") +
                                  pages.join(QStringLiteral("  ")));
    qrText_ = pages.first() + QStringLiteral("?pin=") + r.pin;
    ui_->remoteQrCode->setPixmap(QPixmap::fromImage(QrCode::render(qrText_, 4)));
}

void RemotePrefsPane::showProblem(const QString& problem) {
    if (problem.isEmpty()) return;
    qrText_.clear();
    ui_->remoteQrCode->clear();
    ui_->remoteAddresses->setText(problem);
}

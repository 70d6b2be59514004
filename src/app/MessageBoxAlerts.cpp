#include "app/MessageBoxAlerts.h"

#include "platform/Error.h"

#include <QMessageBox>
#include <QPushButton>

int MessageBoxAlerts::runModal(const AlertSpec& alert) {
    QMessageBox box(parent_);
    box.setIcon(alert.style == AlertSpec::Style::Critical        ? QMessageBox::Critical
                : alert.style == AlertSpec::Style::Informational ? QMessageBox::Information
                                                                 : QMessageBox::Warning);
    box.setText(alert.messageText);
    box.setInformativeText(alert.informativeText);
    QList<QAbstractButton*> buttons;
    const QStringList titles = alert.buttons.isEmpty() ? QStringList{"OK"} : alert.buttons;
    for (const QString& title : titles)
        buttons << box.addButton(title, buttons.isEmpty() ? QMessageBox::AcceptRole
                                                          : QMessageBox::RejectRole);
    box.setDefaultButton(qobject_cast<QPushButton*>(buttons.first()));
    box.exec();
    const qsizetype index = buttons.indexOf(box.clickedButton());
    return FirstButton + static_cast<int>(index < 0 ? 1 : index);
}

bool MessageBoxAlerts::presentError(const Error& error) {
    QMessageBox box(parent_);
    box.setIcon(QMessageBox::Critical);
    box.setText(error.localizedDescription);
    QString details = error.localizedFailureReason;
    if (error.underlying)
        details += "\n\n" + error.underlying->localizedDescription + "\n" +
                   error.underlying->localizedFailureReason;
    box.setInformativeText(details);
    box.addButton(QMessageBox::Ok);
    box.exec();
    return false;
}

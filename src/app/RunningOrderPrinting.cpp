#include "app/RunningOrderPrinting.h"

#include "app/RunningOrderDocument.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "platform/Alerts.h"
#include "platform/GuardedConnect.h"
#include "settings/GigmoraConfig.h"

#include <QAction>
#include <QMenu>
#include <QPrintDialog>
#include <QPrinter>

namespace {
void tell(const QString& what, const QString& why) {
    AlertSpec alert;
    alert.messageText = what;
    alert.informativeText = why;
    Alerts::shared().runModal(alert);
}

void print(ArrayController* setlists, QWidget* window) {
    const QList<ManagedObject*> chosen =
        setlists ? setlists->selectedObjects() : QList<ManagedObject*>();
    if (chosen.isEmpty()) {
        tell("No Setlist to Print",
             "Choose a setlist in the list of setlists: its running order is what is printed.");
        return;
    }
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName("Running order: " + chosen.first()->stringValue("name"));
    QPrintDialog dialog(&printer, window);
    dialog.setWindowTitle("Print Running Order");
    if (dialog.exec() != QDialog::Accepted) return;
    const bool sessions =
        GigmoraConfig::daw().control == GigmoraConfig::Daw::Control::SessionManager;
    if (!RunningOrderDocument({chosen.first()}, sessions).print(printer))
        tell("Could Not Print", "The printer did not take the running order.");
}
} // namespace

QAction* RunningOrderPrinting::addTo(QMenu* menu, ArrayController* setlists, QWidget* window) {
    QAction* action = menu->addAction("Print &Running Order…", QKeySequence::Print);
    action->setObjectName("printRunningOrderAction");
    const QPointer<ArrayController> source(setlists);
    const QPointer<QWidget> parent(window);
    guardedConnect(action, &QAction::triggered, menu,
                   "printRunningOrder:", [source, parent] { print(source, parent); });
    return action;
}

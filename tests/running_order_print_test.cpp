#include "app/ExportCommand.h"
#include "app/RunningOrderDocument.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"
#include "support/PdfReading.h"
#include "support/TempHome.h"

#include <QAction>
#include <QPrinter>

using namespace helpers;

class PrintRunningOrder : public EditFixture {
protected:
    QAction* action() { return app->window()->findChild<QAction*>("printRunningOrderAction"); }
};

TEST_F(PrintRunningOrder, PrintingGivesWhatTheExportWrites) {
    launch();
    ManagedObject* setlist = currentSetlist();
    ASSERT_NE(setlist, nullptr);
    setlist->setValue("name", "Frühschoppen");
    const auto songs = addSongs({"Intro", "Ça plane pour moi", "Outro"});
    for (const auto& song : songs)
        setlist->mutableOrderedSetValueForKey("song").addObject(song);
    songs[0]->setValue("path", session("Intro", 205));
    ASSERT_TRUE(context().save());
    // Lengths come from sessions: the export reads the control from the configuration.
    useSessionManager();

    ASSERT_NE(action(), nullptr);
    // What the dialog's "Print to File (PDF)" does once accepted.
    const QString printed = TempHome::home() + "/printed.pdf";
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(printed);
    printer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                      QMarginsF(12, 12, 12, 12), QPageLayout::Millimeter));
    ASSERT_TRUE(RunningOrderDocument({setlist}, true).print(printer));

    const QString exported = TempHome::home() + "/exported.pdf";
    ASSERT_EQ(runCommand(ExportCommand::run, {"--pdf", exported, "--setlist", "Frühschoppen"}).code,
              0);
    const QStringList pages = pdf::pageTexts(printed);
    ASSERT_EQ(pages.size(), 1);
    EXPECT_EQ(pages, pdf::pageTexts(exported));
    EXPECT_TRUE(pages[0].contains("In all: 3:25; 2 songs without a known length"))
        << pages[0].toStdString();
}

TEST_F(PrintRunningOrder, WithoutASetlistItSaysSoAndPrintsNothing) {
    launch();
    for (ManagedObject* s : context().executeFetchRequest({"Setlist", {}, {}, 0}))
        context().deleteObject(s);
    processEvents();
    // A setlist still chosen would open the print dialog, which nobody closes here.
    ASSERT_TRUE(app->allSetlistsArrayController()->selectedObjects().isEmpty());
    action()->trigger();
    ASSERT_EQ(alerts.shownAlerts.size(), 1);
    EXPECT_EQ(alerts.shownAlerts[0].messageText, "No Setlist to Print");
}

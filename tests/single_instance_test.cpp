#include "app/SingleInstance.h"
#include "library/LibraryStack.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace helpers;

class SingleInstanceTest : public ::testing::Test {
protected:
    void SetUp() override { TempHome::clear(); }
    static QString folder() { return LibraryStack::applicationDocumentsDirectory(); }
};

// A crashed Gigmora's lock is taken over; a second asks the first to come forward instead.
TEST_F(SingleInstanceTest, OneGigmoraPerLibrary) {
    QProcess gone;
    gone.start("sleep", {"30"});
    ASSERT_TRUE(gone.waitForStarted());
    const qint64 pid = gone.processId();
    gone.kill();
    ASSERT_TRUE(gone.waitForFinished());
    QDir().mkpath(folder());
    writeFile(folder() + "/Gigmora.lock",
              QString("%1\ngigmora\n%2\n").arg(pid).arg(QSysInfo::machineHostName()).toUtf8());
    SingleInstance first(folder());
    ASSERT_TRUE(first.acquire());
    QSignalSpy raised(&first, &SingleInstance::raiseRequested);
    SingleInstance second(folder());
    EXPECT_FALSE(second.acquire());
    EXPECT_TRUE(raised.wait(3000));
    SingleInstance elsewhere(TempHome::home() + "/other");
    EXPECT_TRUE(elsewhere.acquire());
}

TEST_F(SingleInstanceTest, ASecondProgramLeavesTheStoreAlone) {
    writeFile(storePath(), R"(<?xml version="1.0"?><database><databaseInfo><UUID>A</UUID>
<nextObjectID>2</nextObjectID></databaseInfo><object type="SETLIST" id="z1">
<attribute name="name" type="string">Friday</attribute></object></database>)");
    const QByteArray before = readFile(storePath());
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.insert("GIGMORA_MIDI", "none");
    QProcess first;
    first.setProcessEnvironment(env);
    first.start(GIGMORA_BINARY);
    ASSERT_TRUE(first.waitForStarted());
    ASSERT_TRUE(waitUntil([] { return QFileInfo::exists(folder() + "/Gigmora.lock"); }, 10000));
    const QDateTime written = QFileInfo(storePath()).lastModified();
    QProcess second;
    second.setProcessEnvironment(env);
    second.start(GIGMORA_BINARY);
    ASSERT_TRUE(second.waitForFinished(10000)) << "the second one quits by itself";
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_TRUE(second.readAllStandardError().contains("already running"));
    EXPECT_EQ(readFile(storePath()), before);
    EXPECT_EQ(QFileInfo(storePath()).lastModified(), written);
    EXPECT_EQ(first.state(), QProcess::Running);
    first.terminate();
    EXPECT_TRUE(first.waitForFinished(10000));
}

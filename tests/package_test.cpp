#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace helpers;

// The Debian package as a musician gets it (scripts/package builds it), and its program run.
namespace {
struct Ran {
    int code = -1;
    QString out, err;
};

Ran run(const QString& program, const QStringList& arguments, int timeoutMs = 120000) {
    QProcess p;
    p.start(program, arguments);
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        return {-1, {}, program.toUtf8() + " did not finish"};
    }
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
            QString::fromUtf8(p.readAllStandardOutput()),
            QString::fromUtf8(p.readAllStandardError())};
}

class Package : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (QFileInfo::exists(GIGMORA_DEB))
            unpacked_ = run("dpkg", {"-x", GIGMORA_DEB, root_.path()}).code == 0;
    }
    void SetUp() override {
        ASSERT_TRUE(QFileInfo::exists(GIGMORA_DEB))
            << GIGMORA_DEB << " is missing: `scripts/package build` makes it (scripts/test does)";
        ASSERT_TRUE(unpacked_) << "dpkg -x failed";
    }
    static QString file(const QString& path) { return root_.path() + path; }
    static QString gigmora() { return file("/usr/bin/gigmora"); }

    static inline QTemporaryDir root_;
    static inline bool unpacked_ = false;
};
} // namespace

TEST_F(Package, ControlDataAndFiles) {
    const Ran info = run("dpkg-deb", {"--info", GIGMORA_DEB});
    ASSERT_EQ(info.code, 0) << info.err.toStdString();
    for (const char* line : {"Package: gigmora", "Version: " GIGMORA_VERSION, "Section: sound",
                             "Suggests: ardour, jackd2, chromium"})
        EXPECT_TRUE(info.out.contains(line)) << line << "\n" << info.out.toStdString();
    const QString depends = info.out.section("Depends: ", 1).section('\n', 0, 0);
    for (const char* library : {"libqt6widgets6", "libjack", "libasound2", "liblo7", "libplist"})
        EXPECT_TRUE(depends.contains(library)) << library << " in " << depends.toStdString();
    EXPECT_FALSE(depends.contains("ardour")) << "the DAW is suggested, not required";

    const Ran contents = run("dpkg-deb", {"--contents", GIGMORA_DEB});
    for (const char* path :
         {"./usr/bin/gigmora", "./usr/share/applications/io.github.gigmora.Gigmora.desktop",
          "./usr/share/icons/hicolor/scalable/apps/io.github.gigmora.Gigmora.svg",
          "./usr/share/metainfo/io.github.gigmora.Gigmora.metainfo.xml"})
        EXPECT_TRUE(contents.out.contains(path)) << path;
    // Lintian also wants the binary stripped, the manual page, copyright and changelog.
    const Ran lintian = run("lintian", {"--fail-on", "error,warning", GIGMORA_DEB}, 300000);
    EXPECT_EQ(lintian.code, 0) << lintian.out.toStdString() << lintian.err.toStdString();
}

// --help, --version and a wrong option answer at once and make no file.
TEST_F(Package, TheProgramAnswersOnItsCommandLine) {
    TempHome::clear();
    const Ran version = run(gigmora(), {"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out, "gigmora " GIGMORA_VERSION "\n");
    const Ran help = run(gigmora(), {"--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* part : {"usage: gigmora", "export", "--pdf FILE", "GIGMORA_MIDI"})
        EXPECT_TRUE(help.out.contains(part)) << part;
    EXPECT_TRUE(help.err.isEmpty());
    const Ran wrong = run(gigmora(), {"--verbose"});
    EXPECT_EQ(wrong.code, 64);
    EXPECT_TRUE(wrong.out.isEmpty());
    EXPECT_TRUE(wrong.err.contains("usage: gigmora"));
    QDirIterator anything(TempHome::home(), QDir::Files | QDir::Hidden,
                          QDirIterator::Subdirectories);
    EXPECT_FALSE(anything.hasNext()) << "made " << anything.next().toStdString();
}

// The packaged program reads a library made by this build and prints out its running order.
TEST_F(Package, ExportsASmallLibrary) {
    TempHome::clear();
    saveSetlist("Friday at the Lantern",
                {"/songs/Opener.logicx", "/songs/Café Olé.logicx", "/songs/Encore.logicx"});
    const Ran text = run(gigmora(), {"export", "--setlist", "Friday at the Lantern"});
    ASSERT_EQ(text.code, 0) << text.err.toStdString();
    EXPECT_LT(text.out.indexOf("Opener"), text.out.indexOf("Café Olé"));
    EXPECT_LT(text.out.indexOf("Café Olé"), text.out.indexOf("Encore"));

    const QString pdf = TempHome::home() + "/friday.pdf";
    ASSERT_EQ(run(gigmora(), {"export", "--pdf", pdf}).code, 0);
    const Ran words = run("pdftotext", {pdf, "-"});
    EXPECT_TRUE(words.out.contains("Friday at the Lantern") && words.out.contains("Café Olé"))
        << words.out.toStdString();
    EXPECT_EQ(run(gigmora(), {"export", "--setlist", "Sunday"}).code, 2);
}

// The desktop and AppStream checkers pass; the manual page renders without a warning.
TEST_F(Package, DesktopFilesAndManualPage) {
    const Ran desktop = run("desktop-file-validate",
                            {file("/usr/share/applications/io.github.gigmora.Gigmora.desktop")});
    EXPECT_EQ(desktop.code, 0) << desktop.out.toStdString() << desktop.err.toStdString();
    const Ran metainfo =
        run("appstreamcli", {"validate", "--no-net",
                             file("/usr/share/metainfo/io.github.gigmora.Gigmora.metainfo.xml")});
    EXPECT_EQ(metainfo.code, 0) << metainfo.out.toStdString() << metainfo.err.toStdString();

    const Ran man = run("env", {"MANWIDTH=80", "man", "--warnings", "-l",
                                file("/usr/share/man/man1/gigmora.1.gz")});
    EXPECT_EQ(man.code, 0) << man.err.toStdString();
    EXPECT_TRUE(man.err.isEmpty())
        << "the page renders without warnings: " << man.err.toStdString();
    for (const char* section :
         {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "FILES", "ENVIRONMENT", "EXIT STATUS",
          "SEE ALSO", "GIGMORA_MIDI", "Gigmora.conf", "OSXCoreDataObjC.storedata"})
        EXPECT_TRUE(man.out.contains(section)) << section;
}

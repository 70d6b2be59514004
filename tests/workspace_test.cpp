#include "platform/Workspace.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <gtest/gtest.h>

using namespace helpers;

namespace {
QString entry(const QString& exec, const QString& extra = {}) {
    const QString path = TempHome::dataHome() + "/applications/daw.desktop";
    writeFile(path, ("[Desktop Entry]\nType=Application\nName=Logic Pro X\nIcon=daw-icon\n" +
                     extra + "Exec=" + exec + "\n")
                        .toUtf8());
    return path;
}
} // namespace

TEST(Workspace, ExecQuotingFollowsTheDesktopEntryRules) {
    EXPECT_EQ(Workspace::splitExec(R"(daw "My Project" "say \"hi\" \$5 \\ \`x\`"  %f)"),
              (QStringList{"daw", "My Project", R"(say "hi" $5 \ `x`)", "%f"}));
    EXPECT_EQ(Workspace::splitExec(R"(daw "" "a"b)"), (QStringList{"daw", "", "ab"}));
}

// Field codes: the file as it is or as a URL, the icon, the name, the entry's own path and a
// literal %; deprecated codes are removed, not left behind as empty arguments.
TEST(Workspace, FieldCodesExpandAndDeprecatedOnesGo) {
    TempHome::clear();
    const QString project = "/music/Two \"live\" it's $HOME.logicx";
    QString e = entry(R"(daw --open %f %i --name=%c %k 100%% %d %D %n %N %v %m "")");
    EXPECT_EQ(Workspace::commandLine(e, project),
              (QStringList{"daw", "--open", project, "--icon", "daw-icon", "--name=Logic Pro X", e,
                           "100%", ""}));
    e = entry("daw %U");
    EXPECT_EQ(Workspace::commandLine(e, "/music/My Song.logicx"),
              (QStringList{"daw", "file:///music/My%20Song.logicx"}));
    // No file code: the path still reaches the program, as its last argument.
    e = entry(R"("da\sw" -x)"); // the value's \s first, then the quoting
    EXPECT_EQ(Workspace::commandLine(e, project), (QStringList{"da w", "-x", project}));
    EXPECT_EQ(Workspace::findDesktopEntry("Logic Pro X"), e);
    EXPECT_TRUE(Workspace::findDesktopEntry("Logic Pro").isEmpty());
}

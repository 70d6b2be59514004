#include "app/StageRemotes.h"
#include "remote/WebRemote.h"
#include "settings/GigmoraConfig.h"
#include "support/HeadlessChromium.h"
#include "support/LibraryHelpers.h"
#include "support/StageFixture.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

using namespace helpers;

// The web remote as the band uses it, in Debian's Chromium.
class RemoteBrowser : public StageFixture {};

// The row the page marks as current, by its text; "" when none is.
const QString markedRow =
    QStringLiteral("(document.querySelector('#order li[aria-current=\"true\"]') || {textContent: "
                   "''}).textContent");

TEST_F(RemoteBrowser, ThePinOpensTheSetAndThePageDrivesIt) {
    GigmoraConfig::setRemote({true, 0, "4321", {}});
    makeSetlist({project("Opener.logicx"), project("Ballad.logicx"), project("Encore.logicx")});
    launch();
    ASSERT_TRUE(app->remotes()->webRemote()) << "the remote listens";
    const QString page =
        QStringLiteral("http://127.0.0.1:%1/").arg(app->remotes()->webRemote()->port());
    selectSetlistRow(0);
    HeadlessChromium browser;
    ASSERT_TRUE(browser.error().isEmpty()) << browser.error().toStdString();
    const auto text = [&](const char* id) {
        return browser.evaluate(QString("document.getElementById('%1').textContent").arg(id))
            .toString()
            .toStdString();
    };
    ASSERT_TRUE(browser.emulatePhone());

    // Without the PIN: a PIN field and nothing of the library.
    ASSERT_TRUE(browser.open(page)) << browser.error().toStdString();
    EXPECT_TRUE(browser.evaluate("!!document.getElementById('pin')").toBool());
    const QString locked = browser.evaluate("document.body.innerText").toString();
    EXPECT_FALSE(locked.contains("Opener") || locked.contains("Gig\n")) << locked.toStdString();

    // The field logs the browser in; the page then shows the running order.
    browser.evaluate("document.getElementById('pin').value = '4321';"
                     "document.querySelector('form').submit(); true");
    ASSERT_TRUE(browser.waitFor(markedRow + " === 'Opener'")) << browser.error().toStdString();
    EXPECT_EQ(text("setlist"), "Gig");
    EXPECT_EQ(browser.evaluate("location.search").toString().toStdString(), "")
        << "the PIN left the address";
    EXPECT_EQ(text("next"), "Next: Ballad");
    EXPECT_TRUE(browser.waitFor("getComputedStyle(document.querySelector('li[aria-current=\"true\"]"
                                " button')).backgroundColor === 'rgb(46, 104, 60)'"))
        << "the green of the pill tables";

    // "Next" runs the trigger's recall: the close command goes out and the page follows.
    browser.evaluate("[...document.querySelectorAll('nav button')].find("
                     "b => b.textContent === 'Next').click(); true");
    ASSERT_TRUE(waitForCloseCommands(1));
    EXPECT_TRUE(browser.waitFor(markedRow + " === 'Ballad'"));
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_EQ(openedFiles(), QStringList{project("Ballad.logicx")});

    // A MIDI trigger reaches the open page without a reload.
    browser.evaluate("window.notReloaded = true");
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitForCloseCommands(2));
    EXPECT_TRUE(browser.waitFor(markedRow + " === 'Encore'"));
    EXPECT_TRUE(browser.evaluate("window.notReloaded === true").toBool());

    // A tap on a row recalls that song, as Go to Project does; "Previous" steps back.
    browser.evaluate("document.querySelectorAll('#order li button')[0].click(); true");
    ASSERT_TRUE(waitForCloseCommands(3));
    EXPECT_TRUE(browser.waitFor(markedRow + " === 'Opener'"));
    EXPECT_EQ(selectedSetlistRow(), 0);
    browser.evaluate("document.getElementById('forward').click(); true");
    ASSERT_TRUE(browser.waitFor(markedRow + " === 'Ballad'"));
    browser.evaluate("document.getElementById('previous').click(); true");
    EXPECT_TRUE(browser.waitFor(markedRow + " === 'Opener'"));

    const QString shot = QCoreApplication::applicationDirPath() + "/remote-page.png";
    EXPECT_TRUE(browser.screenshot(shot)) << browser.error().toStdString();

    // The session stays: the page opens again without the PIN.
    ASSERT_TRUE(browser.open(page));
    EXPECT_TRUE(browser.waitFor(markedRow + " === 'Opener'"));
    EXPECT_FALSE(browser.evaluate("document.cookie.includes('gigmora_session')").toBool())
        << "the session cookie is HttpOnly";

    // Five wrong PINs within the minute: even the right PIN is refused now.
    ASSERT_TRUE(browser.open(page + "?pin=0000"));
    EXPECT_EQ(text("message"), "Wrong PIN.");
    for (int i = 1; i < 5; ++i)
        ASSERT_TRUE(browser.open(page + "?pin=000" + QString::number(i)));
    ASSERT_TRUE(browser.open(page + "?pin=4321"));
    EXPECT_TRUE(text("message").starts_with("Too many wrong PINs"));
    EXPECT_FALSE(browser.evaluate("!!document.getElementById('order')").toBool());
}

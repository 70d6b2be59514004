#pragma once

#include <QString>
#include <QStringList>

struct Error;

struct AlertSpec {
    enum class Style { Warning, Informational, Critical };
    QString messageText;
    QString informativeText;
    QStringList buttons; // first is the confirming button
    Style style = Style::Warning;
};

// Modal questions to the user; the application shows message boxes, tests script the answers.
class Alerts {
public:
    static constexpr int FirstButton = 1000; // answers count up from here, as on the Mac

    virtual ~Alerts() = default;
    virtual int runModal(const AlertSpec& alert) = 0;
    // True when the presentation dealt with the error (recovery succeeded).
    virtual bool presentError(const Error& error) = 0;

    static Alerts& shared();
    static void setShared(Alerts* alerts); // not owned; nullptr restores the quiet default

    // While one lives (a quit by signal, with nobody to answer), no alert is shown: each goes
    // to the log and gets the second answer, which for every question asked here changes
    // nothing.
    class Unattended {
    public:
        Unattended();
        ~Unattended();
        Unattended(const Unattended&) = delete;
        Unattended& operator=(const Unattended&) = delete;
    };
};

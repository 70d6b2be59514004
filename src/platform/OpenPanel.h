#pragma once

#include <QList>
#include <QString>
#include <QUrl>

// Asks the user for files and folders (a project is a folder). The application shows a file
// dialog; tests answer from a script.
class OpenPanel {
public:
    struct Result {
        bool confirmed = false;
        QList<QUrl> urls;
    };
    virtual ~OpenPanel() = default;
    virtual Result runModal(const QString& prompt) = 0;

    static OpenPanel& shared();
    static void setShared(OpenPanel* panel); // not owned; nullptr restores the default
};

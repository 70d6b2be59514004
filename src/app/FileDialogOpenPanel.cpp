#include "app/FileDialogOpenPanel.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>

namespace {
class FilesAndFoldersDialog : public QFileDialog {
public:
    explicit FilesAndFoldersDialog(QWidget* parent) : QFileDialog(parent) {
        setOption(QFileDialog::DontUseNativeDialog);
        setFileMode(QFileDialog::ExistingFiles);
    }
    void accept() override {
        const QStringList chosen = selectedFiles();
        if (!chosen.isEmpty() && QFileInfo(chosen.first()).isDir()) {
            QDialog::accept(); // a project folder is chosen like a file
            return;
        }
        QFileDialog::accept();
    }
};
} // namespace

OpenPanel::Result FileDialogOpenPanel::runModal(const QString& prompt) {
    FilesAndFoldersDialog dialog(QApplication::activeWindow());
    dialog.setLabelText(QFileDialog::Accept, prompt);
    dialog.setAccessibleName("Open");
    Result result;
    result.confirmed = dialog.exec() == QDialog::Accepted;
    if (result.confirmed)
        for (const QString& file : dialog.selectedFiles())
            result.urls << QUrl::fromLocalFile(file);
    return result;
}

#pragma once

#include "daw/SetlistCheck.h"

#include <QDialog>
#include <QList>

class QDialogButtonBox;
class QTreeWidget;

// Library ▸ Check Setlist…: the machine, then every song of one setlist as the DAW control will
// load it (a pass with its length, or each problem), then the set's total. The check runs on a
// thread of its own, as it loads every LV2 bundle and reads every song's project; the dialog
// may be closed before it ends and then drops the result.
class SetlistCheckDialog : public QDialog {
    Q_OBJECT
public:
    SetlistCheckDialog(const QString& setlistName, const QList<SetlistCheck::Song>& songs,
                       bool sessions, bool routed, QWidget* parent = nullptr);
    ~SetlistCheckDialog() override;

    QTreeWidget* results() const { return results_; }
    // Close now; other buttons about the setlist's songs go here too.
    QDialogButtonBox* buttons() const { return buttons_; }

signals:
    void checked();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Outcome {
        QStringList system;
        SetlistCheck::Result setlist;
        bool complete = false; // false: the check failed, and the log says why
    };
    void showOutcome(const Outcome& outcome);
    void fitRows();

    QTreeWidget* results_;
    QDialogButtonBox* buttons_;
};

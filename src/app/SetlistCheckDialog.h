#pragma once

#include "daw/SetlistCheck.h"
#include "settings/GigmoraConfig.h"

#include <QDialog>
#include <QList>

class LivePass;
class QDialogButtonBox;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// Library ▸ Check Setlist…: the machine, then every song of one setlist as the DAW control will
// load it (a pass with its length, or each problem), then the set's total. The check runs on a
// thread of its own, as it loads every LV2 bundle and reads every song's project; the dialog
// may be closed before it ends and then drops the result. With Ardour sessions, Load Each Song
// then loads them one after the other in an Ardour of its own and times each load.
class SetlistCheckDialog : public QDialog {
    Q_OBJECT
public:
    SetlistCheckDialog(const QString& setlistName, const QList<SetlistCheck::Song>& songs,
                       const GigmoraConfig::Daw& daw, QWidget* parent = nullptr);
    ~SetlistCheckDialog() override;

    QTreeWidget* results() const { return results_; }
    QDialogButtonBox* buttons() const { return buttons_; }

signals:
    void checked();
    void loaded(); // the live pass is over

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
    void loadEach();
    void showLoads();

    GigmoraConfig::Daw daw_;
    SetlistCheck::Result checked_;
    QTreeWidget* results_;
    QDialogButtonBox* buttons_;
    QPushButton* loadEach_;
    LivePass* pass_ = nullptr;         // a child, once asked for
    QTreeWidgetItem* loads_ = nullptr; // its results in the list
};

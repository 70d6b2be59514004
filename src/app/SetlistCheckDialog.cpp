#include "app/SetlistCheckDialog.h"

#include "daw/LivePass.h"
#include "platform/Guard.h"

#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QHeaderView>
#include <QPushButton>
#include <QThread>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>
#include <memory>

SetlistCheckDialog::SetlistCheckDialog(const QString& setlistName,
                                       const QList<SetlistCheck::Song>& songs,
                                       const GigmoraConfig::Daw& daw, QWidget* parent)
    : QDialog(parent), daw_(daw), results_(new QTreeWidget(this)),
      buttons_(new QDialogButtonBox(QDialogButtonBox::Close, this)),
      loadEach_(
          buttons_->addButton(QStringLiteral("Load Each Song"), QDialogButtonBox::ActionRole)) {
    const bool sessions = daw.control == GigmoraConfig::Daw::Control::SessionManager;
    setWindowTitle(QStringLiteral("Check Setlist “%1”").arg(setlistName));
    setAccessibleName("Check Setlist");
    results_->setAccessibleName("Check results");
    results_->setHeaderHidden(true);
    results_->setColumnCount(1);
    // A problem is a sentence or two: wrapped to the list's width, never cut off.
    results_->setWordWrap(true);
    results_->setUniformRowHeights(false);
    results_->header()->setStretchLastSection(true);
    results_->addTopLevelItem(new QTreeWidgetItem(QStringList{QStringLiteral("Checking…")}));
    for (QAbstractButton* b : buttons_->buttons())
        b->setAccessibleName(b->text().remove('&'));
    loadEach_->setEnabled(false); // once the songs are checked, and only for DAW sessions
    loadEach_->setToolTip(sessions ? QStringLiteral("Loads every song in a DAW of its own, one "
                                                    "after the other, as the stage would, and "
                                                    "times each load.")
                                   : QStringLiteral("Needs the session manager's DAW control."));
    connect(loadEach_, &QPushButton::clicked, this,
            [this] { guarded("loadEachSong", [&] { loadEach(); }); });
    connect(buttons_, &QDialogButtonBox::rejected, this,
            [this] { guarded("close", [&] { reject(); }); });
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(results_);
    layout->addWidget(buttons_);
    resize(640, 440);

    // The worker owns its copies; the dialog, if still open, reads the outcome once it ends.
    // The system is looked at here: a JACK client opened and closed on another thread while
    // this one opens one can leave both stuck inside the JACK library.
    auto outcome = std::make_shared<Outcome>();
    std::shared_ptr<const SetlistCheck> checker;
    guarded("checkSystem", [&] { checker = std::make_shared<const SetlistCheck>(daw); });
    QThread* worker = QThread::create([outcome, songs, checker] {
        guarded("checkSetlist", [&] {
            if (!checker) return;
            outcome->system = checker->system().lines;
            outcome->setlist = checker->check(songs);
            outcome->complete = true;
        });
    });
    connect(worker, &QThread::finished, worker, &QObject::deleteLater);
    connect(worker, &QThread::finished, this,
            [this, outcome] { guarded("setlistChecked", [&] { showOutcome(*outcome); }); });
    worker->start();
}

SetlistCheckDialog::~SetlistCheckDialog() {
    // Its DAW may take seconds to quit: the window does not wait for it.
    if (pass_) pass_->abandon();
}

void SetlistCheckDialog::showOutcome(const Outcome& outcome) {
    results_->clear();
    if (!outcome.complete) {
        results_->addTopLevelItem(new QTreeWidgetItem(
            QStringList{QStringLiteral("The check failed; Gigmora's log says why.")}));
        emit checked();
        return;
    }
    const auto add = [this](QTreeWidgetItem* parent, const QString& text) {
        auto* item = parent ? new QTreeWidgetItem(parent, QStringList{text})
                            : new QTreeWidgetItem(results_, QStringList{text});
        item->setToolTip(0, text);
        return item;
    };
    QTreeWidgetItem* system = add(nullptr, QStringLiteral("System"));
    for (const QString& line : outcome.system)
        add(system, line);
    for (const SetlistCheck::Row& row : outcome.setlist.rows) {
        if (row.check.passes()) {
            add(nullptr, row.title + ": " + row.verdict());
            continue;
        }
        QTreeWidgetItem* song = add(nullptr, row.title);
        for (const QString& problem : row.check.problems)
            add(song, problem);
    }
    add(nullptr, outcome.setlist.total());
    results_->expandAll();
    fitRows();
    checked_ = outcome.setlist;
    loadEach_->setEnabled(daw_.control == GigmoraConfig::Daw::Control::SessionManager &&
                          !checked_.rows.empty());
    emit checked();
}

void SetlistCheckDialog::loadEach() {
    if (pass_) return;
    loadEach_->setEnabled(false);
    pass_ = new LivePass(daw_, checked_, this); // ended, with its DAW, when the dialog closes
    loads_ = new QTreeWidgetItem(
        results_, QStringList{QStringLiteral("Loaded in %1, one song after the other")
                                  .arg(SessionManager::nameOf(daw_.program()))});
    for (const LivePass::Song& song : pass_->songs())
        new QTreeWidgetItem(loads_, QStringList{song.title});
    connect(pass_, &LivePass::progress, this,
            [this] { guarded("livePassProgress", [&] { showLoads(); }); });
    connect(pass_, &LivePass::finished, this, [this] {
        guarded("livePassOver", [&] {
            showLoads();
            for (const QString& line : pass_->summary())
                new QTreeWidgetItem(loads_, QStringList{line});
            fitRows();
            emit loaded();
        });
    });
    showLoads();
    loads_->setExpanded(true);
    results_->scrollToItem(loads_);
    pass_->start();
}

void SetlistCheckDialog::showLoads() {
    for (int i = 0; i < int(pass_->songs().size()); ++i) {
        const QString text = pass_->songs()[i].title + ": " + pass_->verdict(i);
        loads_->child(i)->setText(0, text);
        loads_->child(i)->setToolTip(0, text);
    }
    fitRows();
}

void SetlistCheckDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    guarded("fitResultRows", [&] { fitRows(); });
}

void SetlistCheckDialog::fitRows() {
    // A tree view wraps the text it paints but sizes every row for one line: each row is
    // given the height of its text wrapped at the width it has now.
    const QFontMetrics metrics(results_->font());
    const int column = results_->viewport()->width();
    for (QTreeWidgetItemIterator it(results_); *it; ++it) {
        int depth = 1;
        for (QTreeWidgetItem* p = (*it)->parent(); p; p = p->parent())
            ++depth;
        const int width = std::max(40, column - depth * results_->indentation() - 8);
        const QRect text =
            metrics.boundingRect(QRect(0, 0, width, 0), Qt::TextWordWrap, (*it)->text(0));
        (*it)->setSizeHint(0, QSize(width, text.height() + 4));
    }
    results_->doItemsLayout(); // the view keeps the heights it measured before
}

#pragma once

#include <QWidget>
#include <memory>

class TableView;
namespace Ui {
class PerformanceView;
}

// The stage: the setlist's name, its running order, the next song and the four recall
// buttons. It keeps the keyboard while shown; its stage keys click Next and Previous.
class PerformanceView : public QWidget {
    Q_OBJECT
public:
    explicit PerformanceView(QWidget* parent = nullptr);
    ~PerformanceView() override;

    TableView* runningOrder() const;
    // The background image the mode switch positions (it is never added anywhere else).
    QWidget* backgroundView() const;
    void setSetlistName(const QString& name);
    QString setlistName() const;
    void setNextSong(const QString& text);
    QString nextSong() const;
    // "Time left: 42:10"; hidden when no song of the set has a known length.
    void setTimeLeft(const QString& text);
    QString timeLeft() const;
    // What the DAW is doing ("Loading Ballad…"); hidden when there is nothing to say.
    void setDawState(const QString& text);
    QString dawState() const;

signals:
    void nextClicked();
    void previousClicked();
    void goToProjectClicked();
    void recallByNumberClicked();

private:
    std::unique_ptr<Ui::PerformanceView> ui_;
};

#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QStringList>
#include <memory>

class QAction;
class QIcon;
class QMainWindow;
class QParallelAnimationGroup;
class QToolBar;
class QWidget;

// A preferences window made of panes: a toolbar button per pane, the window fitted to each
// pane with its top edge fixed, and a cross-fade between panes. Subclasses add their panes in
// setupToolbar, which runs at every showing.
class TzPrefsWindowController : public QObject {
    Q_OBJECT
public:
    TzPrefsWindowController();
    ~TzPrefsWindowController() override;

    // The one controller of the process, created by whichever class asks first, of its class.
    template <typename Controller> static TzPrefsWindowController* sharedPrefsWindowController() {
        if (!slot()) slot() = std::make_unique<Controller>();
        return slot().get();
    }
    static TzPrefsWindowController* existingShared() { return slot().get(); }
    // Ends the shared controller (before the application object goes).
    static void releaseShared() { slot().reset(); }
    static QString nibName() { return QStringLiteral("Preferences"); }

    virtual void setupToolbar() {}
    // The image is the resource named like the label.
    void addView(QWidget* view, const QString& label);
    void addView(QWidget* view, const QString& label, const QIcon& image);

    bool crossFade() const { return crossFade_; }
    void setCrossFade(bool on) { crossFade_ = on; }
    bool shiftSlowsAnimation() const { return shiftSlowsAnimation_; }
    void setShiftSlowsAnimation(bool on) { shiftSlowsAnimation_ = on; }

    void showWindow();
    // A pane button's action; `modifiers` are those held at the click.
    void toggleActivePreferenceView(QAction* item, Qt::KeyboardModifiers modifiers);
    void displayViewForIdentifier(const QString& identifier, bool animate,
                                  Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void crossFadeView(QWidget* oldView, QWidget* newView, Qt::KeyboardModifiers modifiers);
    void animationDidEnd();
    // The window frame that fits `view` under the toolbar, the top edge where it is.
    QRect frameForView(const QWidget* view) const;

    QMainWindow* window();
    QWidget* contentSubview() const { return contentSubview_; }
    QToolBar* toolbar() const { return toolbar_; }
    QParallelAnimationGroup* viewAnimation() const { return viewAnimation_.get(); }
    QStringList toolbarIdentifiers;
    QHash<QString, QPointer<QWidget>> toolbarViews;
    QHash<QString, QPointer<QAction>> toolbarItems;

protected:
    virtual void windowDidLoad();
    // Where removed panes wait: they belong to the window resource and are shown again later.
    QWidget* shelf() const { return shelf_.get(); }

private:
    static std::unique_ptr<TzPrefsWindowController>& slot();
    void removeFromContent(QWidget* view);
    void resetToolbar();

    std::unique_ptr<QMainWindow> window_;
    std::unique_ptr<QWidget> shelf_;
    std::unique_ptr<QParallelAnimationGroup> viewAnimation_;
    QWidget* contentSubview_ = nullptr;
    QToolBar* toolbar_ = nullptr;
    bool crossFade_ = true;
    bool shiftSlowsAnimation_ = true;
};

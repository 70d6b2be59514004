#include "platform/TzPrefsWindowController.h"

#include "platform/Guard.h"

#include <QAction>
#include <QActionGroup>
#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QIcon>
#include <QLayout>
#include <QMainWindow>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QScreen>
#include <QToolBar>
#include <QToolButton>

namespace {
constexpr int kFadeMs = 250;
constexpr int kSlowFadeMs = 1250;
constexpr int kResizeMs = 200; // the animated resize without a cross-fade

// Only the pane switch resizes the window; in between its size is fixed.
void letResize(QWidget* w) {
    w->setMinimumSize(0, 0);
    w->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
}

void fade(QParallelAnimationGroup& group, QWidget* view, double from, double to, int ms) {
    if (!view) return;
    auto* effect = new QGraphicsOpacityEffect(view);
    effect->setOpacity(from);
    view->setGraphicsEffect(effect); // the view owns it
    auto* a = new QPropertyAnimation(effect, "opacity", &group);
    a->setDuration(ms);
    a->setStartValue(from);
    a->setEndValue(to);
    a->setEasingCurve(QEasingCurve::InOutQuad);
    group.addAnimation(a);
}
} // namespace

std::unique_ptr<TzPrefsWindowController>& TzPrefsWindowController::slot() {
    static std::unique_ptr<TzPrefsWindowController> shared;
    return shared;
}

TzPrefsWindowController::TzPrefsWindowController()
    : shelf_(std::make_unique<QWidget>()),
      viewAnimation_(std::make_unique<QParallelAnimationGroup>()) {
    connect(viewAnimation_.get(), &QAbstractAnimation::finished, this,
            [this] { guarded("animationDidEnd:", [this] { animationDidEnd(); }); });
}

TzPrefsWindowController::~TzPrefsWindowController() {
    viewAnimation_->stop();
    viewAnimation_->clear();
}

QMainWindow* TzPrefsWindowController::window() {
    if (!window_) windowDidLoad();
    return window_.get();
}

void TzPrefsWindowController::windowDidLoad() {
    window_ = std::make_unique<QMainWindow>(
        nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                     Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint);
    window_->setObjectName(nibName());
    // The toolbar cannot be hidden from a context menu.
    window_->setContextMenuPolicy(Qt::PreventContextMenu);
    auto* content = new QWidget(window_.get());
    window_->setCentralWidget(content);
    window_->resize(1000, 1000);
    // Glued to the top: panes are placed at its top edge.
    contentSubview_ = new QWidget(content);
    contentSubview_->setObjectName("contentSubview");
    contentSubview_->setGeometry(0, 0, 1000, 1000);
}

void TzPrefsWindowController::addView(QWidget* view, const QString& label) {
    addView(view, label, QIcon(QStringLiteral(":/images/%1.svg").arg(label)));
}

void TzPrefsWindowController::addView(QWidget* view, const QString& label, const QIcon& image) {
    const QString identifier = label;
    toolbarIdentifiers.append(identifier);
    toolbarViews.insert(identifier, view);
    auto* item = new QAction(image, label, this);
    item->setObjectName(identifier);
    item->setCheckable(true);
    connect(item, &QAction::triggered, this, [this, item] {
        const Qt::KeyboardModifiers held = QGuiApplication::keyboardModifiers();
        guarded("toggleActivePreferenceView:", [&] { toggleActivePreferenceView(item, held); });
    });
    if (QAction* earlier = toolbarItems.value(identifier)) earlier->deleteLater();
    toolbarItems.insert(identifier, item);
}

void TzPrefsWindowController::resetToolbar() {
    for (QAction* a : toolbar_->actions()) {
        toolbar_->removeAction(a);
        if (!toolbarItems.values().contains(a)) a->deleteLater();
    }
    auto* group = new QActionGroup(toolbar_);
    for (const QString& identifier : toolbarIdentifiers) {
        QAction* item = toolbarItems.value(identifier);
        if (!item) continue;
        group->addAction(item);
        toolbar_->addAction(item);
        if (QWidget* button = toolbar_->widgetForAction(item))
            button->setAccessibleName(item->text());
    }
}

void TzPrefsWindowController::showWindow() {
    QMainWindow* w = window();
    for (QAction* item : std::as_const(toolbarItems))
        if (item) item->deleteLater();
    toolbarIdentifiers.clear();
    toolbarViews.clear();
    toolbarItems.clear();
    setupToolbar();
    if (!toolbar_) {
        toolbar_ = new QToolBar(w);
        toolbar_->setObjectName("TzPreferencesToolbar");
        toolbar_->setMovable(false);
        toolbar_->setFloatable(false);
        toolbar_->toggleViewAction()->setVisible(false);
        toolbar_->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        toolbar_->setIconSize({32, 32});
        w->addToolBar(Qt::TopToolBarArea, toolbar_);
    }
    resetToolbar();
    // No panes is a subclass's mistake; there is nothing to show then.
    const QString first = toolbarIdentifiers.value(0);
    if (QAction* item = toolbarItems.value(first)) item->setChecked(true);
    displayViewForIdentifier(first, false);
    if (QScreen* screen = w->screen() ? w->screen() : QGuiApplication::primaryScreen()) {
        QRect frame = w->frameGeometry();
        frame.moveCenter(screen->availableGeometry().center());
        w->move(frame.topLeft());
    }
    w->show();
    w->raise();
    w->activateWindow();
}

void TzPrefsWindowController::toggleActivePreferenceView(QAction* item,
                                                         Qt::KeyboardModifiers modifiers) {
    displayViewForIdentifier(item->objectName(), true, modifiers);
}

void TzPrefsWindowController::removeFromContent(QWidget* view) {
    view->setGraphicsEffect(nullptr);
    view->hide();
    view->setParent(shelf_.get());
}

void TzPrefsWindowController::displayViewForIdentifier(const QString& identifier, bool animate,
                                                       Qt::KeyboardModifiers modifiers) {
    QMainWindow* w = window();
    QWidget* view = toolbarViews.value(identifier);
    QList<QWidget*> shown = contentSubview_->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
    QWidget* old = shown.isEmpty() ? nullptr : shown.takeLast();
    for (QWidget* stale : shown)
        removeFromContent(stale);
    if (view == old) return;
    if (view) {
        view->setParent(contentSubview_);
        view->move(0, 0);
        view->show();
        view->raise();
        view->setFocus();
    }
    if (animate && crossFade_) {
        crossFadeView(old, view, modifiers);
    } else {
        if (old) removeFromContent(old);
        const QRect frame = frameForView(view);
        // The window takes each pane's size and no other: a person cannot resize it.
        letResize(w);
        if (animate) {
            auto* resize = new QPropertyAnimation(w, "geometry", w);
            resize->setObjectName("animatedResize");
            resize->setDuration(kResizeMs);
            resize->setStartValue(w->geometry());
            resize->setEndValue(frame);
            connect(resize, &QAbstractAnimation::finished, w,
                    [w, size = frame.size()] { w->setFixedSize(size); });
            resize->start(QAbstractAnimation::DeleteWhenStopped);
        } else {
            w->setGeometry(frame);
            w->setFixedSize(frame.size());
        }
    }
    if (QAction* item = toolbarItems.value(identifier)) w->setWindowTitle(item->text());
}

void TzPrefsWindowController::crossFadeView(QWidget* oldView, QWidget* newView,
                                            Qt::KeyboardModifiers modifiers) {
    QMainWindow* w = window();
    viewAnimation_->stop();
    viewAnimation_->clear();
    const int ms = shiftSlowsAnimation_ && (modifiers & Qt::ShiftModifier) ? kSlowFadeMs : kFadeMs;
    letResize(w);
    fade(*viewAnimation_, oldView, 1.0, 0.0, ms);
    fade(*viewAnimation_, newView, 0.0, 1.0, ms);
    auto* resize = new QPropertyAnimation(w, "geometry", viewAnimation_.get());
    resize->setDuration(ms);
    resize->setStartValue(w->geometry());
    resize->setEndValue(frameForView(newView));
    resize->setEasingCurve(QEasingCurve::InOutQuad);
    viewAnimation_->addAnimation(resize);
    viewAnimation_->start();
}

void TzPrefsWindowController::animationDidEnd() {
    QList<QWidget*> shown = contentSubview_->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
    if (!shown.isEmpty()) shown.takeLast()->setGraphicsEffect(nullptr);
    for (QWidget* stale : shown)
        removeFromContent(stale);
    if (QWidget* focused = window()->focusWidget()) focused->clearFocus();
    window()->setFixedSize(window()->size());
}

QRect TzPrefsWindowController::frameForView(const QWidget* view) const {
    QMainWindow* w = window_.get();
    if (QLayout* layout = w->layout()) layout->activate();
    const QRect frame = w->geometry();
    const QWidget* content = w->centralWidget();
    // Toolbar area height, kept in single precision as the window server gives it.
    const float chrome = static_cast<float>(frame.height() - (content ? content->height() : 0));
    const int height = static_cast<int>(chrome + static_cast<float>(view ? view->height() : 0));
    const int width = view ? view->width() : 0;
    return {frame.x(), frame.y(), width, height}; // the top edge stays
}

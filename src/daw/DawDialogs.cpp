#include "daw/DawDialogs.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <QByteArray>
#include <functional>

struct DawDialogs::Display {
    ::Display* x = nullptr;
    Atom pid = 0, type = 0, dialog = 0, name = 0, utf8 = 0;
    ~Display() {
        if (x) XCloseDisplay(x);
    }
    // The window's property as bytes, empty when it has none.
    QByteArray property(Window window, Atom atom, Atom wanted) const {
        Atom actual = 0;
        int format = 0;
        unsigned long items = 0, after = 0;
        unsigned char* data = nullptr;
        if (XGetWindowProperty(x, window, atom, 0, 1024, False, wanted, &actual, &format, &items,
                               &after, &data) != Success ||
            !data)
            return {};
        const QByteArray bytes(
            reinterpret_cast<const char*>(data),
            qsizetype(items) * (format == 32 ? qsizetype(sizeof(long)) : qsizetype(format / 8)));
        XFree(data);
        return bytes;
    }
    bool isDialog(Window window) const {
        Window owner = 0;
        if (XGetTransientForHint(x, window, &owner) && owner) return true;
        const QByteArray types = property(window, type, XA_ATOM);
        const auto* atoms = reinterpret_cast<const long*>(types.constData());
        for (qsizetype i = 0; i < types.size() / qsizetype(sizeof(long)); ++i)
            if (Atom(atoms[i]) == dialog) return true;
        return false;
    }
    QString title(Window window) const {
        const QByteArray utf = property(window, name, utf8);
        if (!utf.isEmpty()) return QString::fromUtf8(utf);
        char* plain = nullptr;
        if (!XFetchName(x, window, &plain) || !plain) return {};
        const QString text = QString::fromLocal8Bit(plain);
        XFree(plain);
        return text;
    }
};

namespace {
// X errors for windows that went away between two calls are expected, not fatal.
int ignoreErrors(::Display*, XErrorEvent*) {
    return 0;
}
} // namespace

DawDialogs::DawDialogs() = default;

DawDialogs::~DawDialogs() = default;

QString DawDialogs::question(qint64 pid) {
    if (pid <= 0) return {};
    if (!display_) {
        auto d = std::make_unique<Display>();
        d->x = XOpenDisplay(nullptr);
        if (!d->x) return {};
        d->pid = XInternAtom(d->x, "_NET_WM_PID", False);
        d->type = XInternAtom(d->x, "_NET_WM_WINDOW_TYPE", False);
        d->dialog = XInternAtom(d->x, "_NET_WM_WINDOW_TYPE_DIALOG", False);
        d->name = XInternAtom(d->x, "_NET_WM_NAME", False);
        d->utf8 = XInternAtom(d->x, "UTF8_STRING", False);
        display_ = std::move(d);
    }
    const auto previous = XSetErrorHandler(ignoreErrors);
    QString found;
    bool asks = false;
    // A window manager puts the DAW's windows inside frames of its own: looked for at depth.
    std::function<void(Window, int)> search = [&](Window window, int depth) {
        Window root = 0, parent = 0, *children = nullptr;
        unsigned int count = 0;
        if (!XQueryTree(display_->x, window, &root, &parent, &children, &count)) return;
        for (unsigned int i = 0; i < count && !asks; ++i) {
            const Window w = children[i];
            const QByteArray owner = display_->property(w, display_->pid, XA_CARDINAL);
            XWindowAttributes attributes;
            if (owner.size() >= qsizetype(sizeof(long)) &&
                *reinterpret_cast<const long*>(owner.constData()) == pid &&
                XGetWindowAttributes(display_->x, w, &attributes) &&
                attributes.map_state == IsViewable && display_->isDialog(w)) {
                asks = true;
                found = display_->title(w);
            }
            if (!asks && depth < 2) search(w, depth + 1);
        }
        if (children) XFree(children);
    };
    search(DefaultRootWindow(display_->x), 0);
    XSync(display_->x, False);
    XSetErrorHandler(previous);
    // A dialog with no title still asks: it is named by what it is.
    return asks && found.isEmpty() ? QStringLiteral("a dialog") : found;
}

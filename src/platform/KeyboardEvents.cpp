#include "platform/KeyboardEvents.h"

#include "platform/PlatformLog.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <memory>

namespace {
struct DisplayClose {
    void operator()(Display* d) const { XCloseDisplay(d); }
};

KeySym keysymFor(int virtualKeyCode) {
    switch (virtualKeyCode) {
    case KeyboardEvents::kVirtualKeySpace:
        return XK_space;
    default:
        return NoSymbol;
    }
}
} // namespace

bool KeyboardEvents::postKeyPress(int virtualKeyCode) {
    const KeySym sym = keysymFor(virtualKeyCode);
    std::unique_ptr<Display, DisplayClose> display(
        qEnvironmentVariableIsEmpty("DISPLAY") ? nullptr : XOpenDisplay(nullptr));
    int event, error, major, minor;
    if (!display || sym == NoSymbol ||
        !XTestQueryExtension(display.get(), &event, &error, &major, &minor)) {
        qCInfo(lcKeys) << "No X display with XTest; the key press" << virtualKeyCode
                       << "was not sent.";
        return false;
    }
    const KeyCode code = XKeysymToKeycode(display.get(), sym);
    XTestFakeKeyEvent(display.get(), code, True, CurrentTime);
    XTestFakeKeyEvent(display.get(), code, False, CurrentTime);
    XFlush(display.get());
    return true;
}

#pragma once

// Synthesised key presses for the frontmost application: XTest where an X display is
// available, one log line otherwise.
class KeyboardEvents {
public:
    static constexpr int kVirtualKeySpace = 49;
    // One press and release of a key given by its virtual key code. False when nothing was
    // posted.
    static bool postKeyPress(int virtualKeyCode);
};

// Translating Qt's key and mouse events into the numbers the window's handlers compare: the
// virtual-key numbers of the keyboard's keys, the character codes of typed characters, and
// the numbers of mouse buttons and of the keys held down with them.

#include "KeyCodes.h"

#include <QGuiApplication>
#include <QKeyEvent>

namespace {

// Keys of the numeric keypad (Qt marks them with KeypadModifier).
int KeypadKey(int key) {
    if (key >= Qt::Key_0 && key <= Qt::Key_9) return 96 + (key - Qt::Key_0);
    switch (key) {
        case Qt::Key_Asterisk:
            return 106;
        case Qt::Key_Plus:
            return 107;
        case Qt::Key_Minus:
            return 109;
        case Qt::Key_Period:
        case Qt::Key_Comma:
            return 110;  // the keypad's decimal key, whatever it types
        case Qt::Key_Slash:
            return 111;
        default:
            return -1;  // keypad navigation keys are numbered like the ordinary ones
    }
}

// Shifted characters of the main digit row, on the common layout, give their key's number.
int ShiftedDigit(int key) {
    switch (key) {
        case Qt::Key_ParenRight:
            return 48;
        case Qt::Key_Exclam:
            return 49;
        case Qt::Key_At:
            return 50;
        case Qt::Key_NumberSign:
            return 51;
        case Qt::Key_Dollar:
            return 52;
        case Qt::Key_Percent:
            return 53;
        case Qt::Key_AsciiCircum:
            return 54;
        case Qt::Key_Ampersand:
            return 55;
        case Qt::Key_Asterisk:
            return 56;
        case Qt::Key_ParenLeft:
            return 57;
        default:
            return 0;
    }
}

int OrdinaryKey(int key) {
    if (key >= Qt::Key_0 && key <= Qt::Key_9) return key;  // 48..57
    if (key >= Qt::Key_A && key <= Qt::Key_Z) return key;  // 65..90
    if (key >= Qt::Key_F1 && key <= Qt::Key_F12) return 112 + (key - Qt::Key_F1);
    switch (key) {
        case Qt::Key_Backspace:
            return 8;
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            return 9;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return 13;
        case Qt::Key_Shift:
            return 16;
        case Qt::Key_Control:
            return 17;
        case Qt::Key_Alt:
            return 18;
        case Qt::Key_Pause:
            return 19;
        case Qt::Key_CapsLock:
            return 20;
        case Qt::Key_Escape:
            return 27;
        case Qt::Key_Space:
            return 32;
        case Qt::Key_PageUp:
            return 33;
        case Qt::Key_PageDown:
            return 34;
        case Qt::Key_End:
            return 35;
        case Qt::Key_Home:
            return 36;
        case Qt::Key_Left:
            return 37;
        case Qt::Key_Up:
            return 38;
        case Qt::Key_Right:
            return 39;
        case Qt::Key_Down:
            return 40;
        case Qt::Key_Print:
            return 44;
        case Qt::Key_Insert:
            return 45;
        case Qt::Key_Delete:
            return 46;
        case Qt::Key_NumLock:
            return 144;
        case Qt::Key_ScrollLock:
            return 145;
        case Qt::Key_Semicolon:
        case Qt::Key_Colon:
            return 186;
        case Qt::Key_Equal:
        case Qt::Key_Plus:
            return 187;
        case Qt::Key_Comma:
        case Qt::Key_Less:
            return 188;
        case Qt::Key_Minus:
        case Qt::Key_Underscore:
            return 189;
        case Qt::Key_Period:
        case Qt::Key_Greater:
            return 190;
        case Qt::Key_Slash:
        case Qt::Key_Question:
            return 191;
        case Qt::Key_QuoteLeft:
        case Qt::Key_AsciiTilde:
            return 192;
        case Qt::Key_BracketLeft:
        case Qt::Key_BraceLeft:
            return 219;
        case Qt::Key_Backslash:
        case Qt::Key_Bar:
            return 220;
        case Qt::Key_BracketRight:
        case Qt::Key_BraceRight:
            return 221;
        case Qt::Key_Apostrophe:
        case Qt::Key_QuoteDbl:
            return 222;
        default:
            return ShiftedDigit(key);
    }
}

// On X11 the hardware key codes 10..19 are the main digit row ("1" .. "9", "0") on every
// layout, also where the row types other characters unshifted.
int X11DigitRow(const QKeyEvent& event) {
    const quint32 scan = event.nativeScanCode();
    if (scan < 10 || scan > 19) return 0;
    if (QGuiApplication::platformName() != QLatin1String("xcb")) return 0;
    return scan == 19 ? 48 : static_cast<int>(49 + (scan - 10));
}

}  // namespace

namespace KeyCodes {

int VirtualKey(const QKeyEvent& event) {
    const int key = event.key();
    if (event.modifiers() & Qt::KeypadModifier) {
        const int code = KeypadKey(key);
        if (code >= 0) return code;
    }
    if (const int digit = X11DigitRow(event)) return digit;
    return OrdinaryKey(key);
}

int CharacterCode(const QKeyEvent& event) {
    const int key = event.key();
    const Qt::KeyboardModifiers mods = event.modifiers();
    // Ctrl with a letter types the control character of that letter (Ctrl+C 3, Ctrl+V 22).
    if ((mods & Qt::ControlModifier) && !(mods & Qt::AltModifier) && key >= Qt::Key_A &&
        key <= Qt::Key_Z)
        return 1 + (key - Qt::Key_A);
    switch (key) {
        case Qt::Key_Backspace:
            return 8;
        case Qt::Key_Tab:
            return 9;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return 13;
        case Qt::Key_Escape:
            return 27;
        case Qt::Key_Delete:
            return 0;  // deleting types nothing
        default:
            break;
    }
    const QString text = event.text();
    if (text.isEmpty()) return 0;
    const char32_t code = text.toUcs4().value(0);
    if (code == 0 || code == 127) return 0;
    return static_cast<int>(code);
}

int ShiftCode(Qt::KeyboardModifiers modifiers) {
    return (modifiers & Qt::ShiftModifier ? 1 : 0) | (modifiers & Qt::ControlModifier ? 2 : 0) |
           (modifiers & Qt::AltModifier ? 4 : 0);
}

int ButtonCode(Qt::MouseButton button) {
    switch (button) {
        case Qt::LeftButton:
            return 1;
        case Qt::RightButton:
            return 2;
        case Qt::MiddleButton:
            return 4;
        default:
            return 0;
    }
}

}  // namespace KeyCodes

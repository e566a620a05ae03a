#pragma once
// Key and mouse numbers as the window's handlers compare them: the Windows virtual-key codes
// for key releases, character codes for typed characters, and the numbers of the mouse
// buttons and of the Shift, Ctrl and Alt keys held down.

#include <QtCore/qnamespace.h>

class QKeyEvent;

namespace KeyCodes {

// The virtual-key number of the key in a key event: main-row digits 48-57, keypad digits
// 96-105, letters 65-90, Backspace 8, Tab 9, Enter 13, Shift 16, Ctrl 17, Alt 18,
// Escape 27, Space 32, PageUp 33, PageDown 34, End 35, Home 36, arrows 37-40, Print 44,
// Insert 45, Delete 46, keypad * + - . / 106 107 109 110 111, F1-F12 112-123,
// ; = , - . / ` [ \ ] ' 186-192 and 219-222. Keys without a number give 0.
int VirtualKey(const QKeyEvent& event);

// The character code a key press types (8 for Backspace, 3 for Ctrl+C, 22 for Ctrl+V ...),
// or 0 when the key types no character (arrows, Delete, function keys).
int CharacterCode(const QKeyEvent& event);

// The keys held down with a key or a mouse button, added up: 1 Shift, 2 Ctrl, 4 Alt.
int ShiftCode(Qt::KeyboardModifiers modifiers);

// The number of a mouse button: 1 left, 2 right, 4 middle; 0 for any other button.
int ButtonCode(Qt::MouseButton button);

}  // namespace KeyCodes

#pragma once
// Key numbers as the window's handlers compare them: the Windows virtual-key codes for key
// releases, and character codes for typed characters.

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

}  // namespace KeyCodes

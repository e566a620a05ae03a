// Key events as the window's handlers see them: the key numbers of key releases and the
// character codes of typed characters.

#include <gtest/gtest.h>

#include <QKeyEvent>

#include "KeyCodes.h"

namespace {

struct KeyCase {
    int key;
    Qt::KeyboardModifiers modifiers;
    const char* text;
    int virtualKey;
    int character;
};

class KeyCodesTest : public ::testing::TestWithParam<KeyCase> {};

TEST_P(KeyCodesTest, MapsKeyAndCharacter) {
    const KeyCase& c = GetParam();
    const QKeyEvent press(QEvent::KeyPress, c.key, c.modifiers, QString::fromUtf8(c.text));
    EXPECT_EQ(KeyCodes::VirtualKey(press), c.virtualKey);
    EXPECT_EQ(KeyCodes::CharacterCode(press), c.character);
}

const Qt::KeyboardModifiers None = Qt::NoModifier;
const Qt::KeyboardModifiers Keypad = Qt::KeypadModifier;

INSTANTIATE_TEST_SUITE_P(
    Keys, KeyCodesTest,
    ::testing::Values(
        // Main-row digits and keypad digits type the same character but are different keys.
        KeyCase{Qt::Key_0, None, "0", 48, 48}, KeyCase{Qt::Key_4, None, "4", 52, 52},
        KeyCase{Qt::Key_9, None, "9", 57, 57}, KeyCase{Qt::Key_0, Keypad, "0", 96, 48},
        KeyCase{Qt::Key_4, Keypad, "4", 100, 52}, KeyCase{Qt::Key_9, Keypad, "9", 105, 57},
        KeyCase{Qt::Key_Period, Keypad, ".", 110, 46}, KeyCase{Qt::Key_Minus, Keypad, "-", 109, 45},
        // Punctuation keys are numbered as keys, not as the characters they type.
        KeyCase{Qt::Key_Period, None, ".", 190, 46}, KeyCase{Qt::Key_Comma, None, ",", 188, 44},
        KeyCase{Qt::Key_Minus, None, "-", 189, 45}, KeyCase{Qt::Key_A, None, "a", 65, 97},
        KeyCase{Qt::Key_Exclam, Qt::ShiftModifier, "!", 49, 33},
        // Editing keys.
        KeyCase{Qt::Key_Backspace, None, "\b", 8, 8}, KeyCase{Qt::Key_Delete, None, "\x7f", 46, 0},
        KeyCase{Qt::Key_Insert, None, "", 45, 0}, KeyCase{Qt::Key_Print, None, "", 44, 0},
        KeyCase{Qt::Key_Return, None, "\r", 13, 13}, KeyCase{Qt::Key_Left, None, "", 37, 0},
        KeyCase{Qt::Key_Home, Keypad, "", 36, 0}, KeyCase{Qt::Key_F5, None, "", 116, 0},
        KeyCase{Qt::Key_Shift, Qt::ShiftModifier, "", 16, 0},
        // Clipboard shortcuts type control characters, whatever text the event carries.
        KeyCase{Qt::Key_C, Qt::ControlModifier, "c", 67, 3},
        KeyCase{Qt::Key_V, Qt::ControlModifier, "", 86, 22},
        KeyCase{Qt::Key_X, Qt::ControlModifier, "\x18", 88, 24}));

}  // namespace

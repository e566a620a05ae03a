// The Qt side of the platform: filters, the file test, and message boxes answered by a
// simulated user.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>

#include "QtPlatform.h"

namespace {

TEST(QtPlatformTest, ConvertsFiltersToQtForm) {
    EXPECT_EQ(QtPlatform::DialogFilter("Hypertext file(*.htm)|*.htm"), "Hypertext file(*.htm)");
    EXPECT_EQ(QtPlatform::DialogFilter("Text|*.txt|Pictures|*.png;*.jpg"),
              "Text (*.txt);;Pictures (*.png *.jpg)");
}

TEST(QtPlatformTest, FindsOnlyOrdinaryVisibleFiles) {
    QTemporaryDir dir;
    for (const char* name : {"plain.xls", ".hidden.xls"}) {
        QFile file(dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    QtPlatform platform;
    EXPECT_TRUE(platform.FileExists(dir.filePath("plain.xls")));
    EXPECT_FALSE(platform.FileExists(dir.filePath(".hidden.xls")));
    EXPECT_FALSE(platform.FileExists(dir.filePath("plain")));  // no extension is guessed
    EXPECT_FALSE(platform.FileExists(dir.path()));             // a folder is no file
}

// Presses a button of the message box that opens next; keeps its title, text and buttons.
struct SimulatedUser {
    QString title, text;
    int buttons = 0;
    QMessageBox::Icon icon = QMessageBox::NoIcon;

    explicit SimulatedUser(const QString& press) {
        QTimer::singleShot(0, [this, press] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            title = box->windowTitle();
            text = box->text();
            icon = box->icon();
            buttons = static_cast<int>(box->buttons().size());
            for (QAbstractButton* b : box->buttons())
                if (b->text().remove('&') == press) b->click();
        });
    }
};

// Style, title, button pressed -> answer, number of buttons, icon, title shown.
struct BoxCase {
    int style;
    const char* title;
    const char* press;
    int answer;
    int buttons;
    QMessageBox::Icon icon;
    const char* shownTitle;
};
void PrintTo(const BoxCase& c, std::ostream* os) {
    *os << "style " << c.style << " " << c.press;
}
class MessageBoxTest : public ::testing::TestWithParam<BoxCase> {};

TEST_P(MessageBoxTest, AnswersWithTheButtonsNumber) {
    const BoxCase& c = GetParam();
    QtPlatform platform;
    SimulatedUser user(c.press);
    EXPECT_EQ(platform.MessageBox("Question?", c.style, c.title), c.answer);
    EXPECT_EQ(user.title, c.shownTitle);
    EXPECT_EQ(user.buttons, c.buttons);
    EXPECT_EQ(user.icon, c.icon);
}

INSTANTIATE_TEST_SUITE_P(
    Styles, MessageBoxTest,
    ::testing::Values(BoxCase{0, "", "OK", 1, 1, QMessageBox::NoIcon, "Kelvara"},
                      BoxCase{48, "Note", "OK", 1, 1, QMessageBox::Warning, "Note"},
                      BoxCase{36, "Note", "Yes", 6, 2, QMessageBox::Question, "Note"},
                      BoxCase{36, "Note", "No", 7, 2, QMessageBox::Question, "Note"}));

TEST(QtPlatformTest, RuntimeErrorIsReportedThenEndsWithItsNumber) {
    QtPlatform platform;
    SimulatedUser user("OK");
    platform.EndOnRuntimeError(9, "Subscript out of range");
    EXPECT_EQ(user.title, "Kelvara");
    EXPECT_EQ(user.text, "Run-time error '9':\n\nSubscript out of range");
    EXPECT_TRUE(platform.Ended());
    EXPECT_EQ(platform.ExitStatus(), 9);
    // Let the asked-for end happen, so that later tests get a working event loop again.
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    QGuiApplication::setQuitOnLastWindowClosed(true);
}

}  // namespace

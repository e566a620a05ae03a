// The Qt side of the platform: filters, the file test, and message boxes driven by a
// simulated user.

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include "QtPlatform.h"

namespace {

TEST(QtPlatformTest, ConvertsFiltersToQtForm) {
    EXPECT_EQ(QtPlatform::DialogFilter("Excel WorkBook (*.xls)|*.xls"), "Excel WorkBook (*.xls)");
    EXPECT_EQ(QtPlatform::DialogFilter("Hypertext file(*.htm)|*.htm"), "Hypertext file(*.htm)");
    EXPECT_EQ(QtPlatform::DialogFilter("Text|*.txt|Pictures|*.png;*.jpg"),
              "Text (*.txt);;Pictures (*.png *.jpg)");
}

TEST(QtPlatformTest, FindsOnlyOrdinaryVisibleFiles) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (const char* name : {"plain.xls", ".hidden.xls"}) {
        QFile file(dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    QtPlatform platform;
    EXPECT_TRUE(platform.FileExists(dir.filePath("plain.xls")));
    EXPECT_FALSE(platform.FileExists(dir.filePath(".hidden.xls")));
    EXPECT_FALSE(platform.FileExists(dir.filePath("plain")));  // no extension is guessed
    EXPECT_FALSE(platform.FileExists(dir.path()));             // a folder is no file
    EXPECT_FALSE(platform.FileExists(QString()));
}

// Presses the button with the given text in the message box that opens next, and keeps
// what the box showed.
struct SimulatedUser {
    QString title, text;
    QStringList buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;

    void Press(const QString& buttonText) {
        QTimer::singleShot(0, [this, buttonText] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            title = box->windowTitle();
            text = box->text();
            icon = box->icon();
            for (QAbstractButton* b : box->buttons())
                buttons << b->text().remove('&');
            for (QAbstractButton* b : box->buttons())
                if (b->text().remove('&') == buttonText) b->click();
        });
    }
};

struct BoxCase {
    int style;
    const char* press;
    int answer;
    int buttons;
    QMessageBox::Icon icon;
};

class MessageBoxTest : public ::testing::TestWithParam<BoxCase> {};

TEST_P(MessageBoxTest, AnswersWithTheButtonsNumber) {
    const BoxCase& c = GetParam();
    QtPlatform platform;
    SimulatedUser user;
    user.Press(c.press);
    EXPECT_EQ(platform.MessageBox("Question?", c.style, "Note"), c.answer);
    EXPECT_EQ(user.title, "Note");
    EXPECT_EQ(user.buttons.size(), c.buttons);
    EXPECT_EQ(user.icon, c.icon);
}

INSTANTIATE_TEST_SUITE_P(Styles, MessageBoxTest,
                         ::testing::Values(BoxCase{0, "OK", 1, 1, QMessageBox::NoIcon},
                                           BoxCase{48, "OK", 1, 1, QMessageBox::Warning},
                                           BoxCase{36, "Yes", 6, 2, QMessageBox::Question},
                                           BoxCase{36, "No", 7, 2, QMessageBox::Question},
                                           BoxCase{4, "No", 7, 2, QMessageBox::NoIcon}));

TEST(QtPlatformTest, UntitledBoxCarriesTheProgramsName) {
    QtPlatform platform;
    SimulatedUser user;
    user.Press("OK");
    platform.MessageBox("Hello", 0, QString());
    EXPECT_EQ(user.title, "Kelvara");
}

TEST(QtPlatformTest, RuntimeErrorIsReportedThenEndsWithItsNumber) {
    QtPlatform platform;
    SimulatedUser user;
    user.Press("OK");
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

// The About box: its controls as drawn, the fonts it falls back on, the keys that close
// it, and the link that opens the home page while the box stays open.
#include <gtest/gtest.h>

#include <QFontInfo>
#include <QLabel>
#include <QPushButton>
#include <QStringList>
#include <QTest>

#include "About.h"
#include "RecordingPlatform.h"

namespace {

int Px(const QWidget& widget, int twips) {
    return qRound(twips * widget.logicalDpiX() / 1440.0);
}

const QStringList Serif{"Times New Roman", "Liberation Serif", "DejaVu Serif"};
const QStringList Sans{"Arial", "Liberation Sans", "DejaVu Sans"};
const QStringList DialogSans{"MS Sans Serif", "Microsoft Sans Serif", "Liberation Sans", "Arial",
                             "DejaVu Sans"};

struct Control {
    const char* name;
    const char* text;
    int left, top, width, height;  // twips
    const QStringList* families;   // the font asked for, then its acceptable stand-ins
    double points;
    bool bold, underline;
};

class AboutControl : public ::testing::TestWithParam<Control> {};

TEST_P(AboutControl, StandsWhereDrawnInItsFontAndShowsAllOfItsText) {
    RecordingPlatform platform;
    About about(platform);
    const Control& c = GetParam();
    auto* widget = about.findChild<QWidget*>(QLatin1String(c.name));
    ASSERT_NE(widget, nullptr);
    auto* label = qobject_cast<QLabel*>(widget);
    const QString text = label ? label->text() : static_cast<QPushButton*>(widget)->text();
    EXPECT_EQ(text, QString::fromUtf8(c.text));
    EXPECT_EQ(widget->geometry(),
              QRect(Px(about, c.left), Px(about, c.top), Px(about, c.width), Px(about, c.height)));
    EXPECT_LE(widget->fontMetrics().horizontalAdvance(text), widget->width());
    EXPECT_FALSE(widget->accessibleName().isEmpty());

    const QFont font = widget->font();
    EXPECT_DOUBLE_EQ(font.pointSizeF(), c.points);
    EXPECT_EQ(font.bold(), c.bold);
    EXPECT_EQ(font.underline(), c.underline);
    EXPECT_TRUE(c.families->contains(QFontInfo(font).family()))
        << QFontInfo(font).family().toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    About, AboutControl,
    ::testing::Values(
        Control{"cmdOK", "O K", 2940, 1320, 1260, 345, &DialogSans, 8.25, false, false},
        Control{"lblDisclaimer", "Made by the Kelvara team", 60, 1500, 2535, 195, &DialogSans, 8.25,
                false, false},
        Control{"lblTitle", "Kelvara", 360, 240, 3285, 360, &Serif, 15.75, true, false},
        Control{"Label1", "kelvara.org", 60, 1260, 1575, 255, &Sans, 8.25, false, true},
        Control{"Label2", "Version 2.0", 2640, 660, 1095, 255, &Sans, 9, false, false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(About, IsAFixedWhiteBoxWithTheProgramIcon) {
    RecordingPlatform platform;
    About about(platform);
    EXPECT_EQ(about.windowTitle(), "About Kelvara");
    const QSize client(Px(about, 4440), Px(about, 1815));
    EXPECT_EQ(about.minimumSize(), client);
    EXPECT_EQ(about.maximumSize(), client);
    const Qt::WindowFlags flags = about.windowFlags();
    EXPECT_FALSE(flags & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
    EXPECT_TRUE(flags & Qt::WindowCloseButtonHint);
    EXPECT_EQ(about.palette().color(QPalette::Window), QColor(255, 255, 255));
    const QList<QSize> sizes = about.windowIcon().availableSizes();
    EXPECT_TRUE(sizes.contains(QSize(16, 16)) && sizes.contains(QSize(32, 32)));
    auto* link = about.findChild<QLabel*>("Label1");
    ASSERT_NE(link, nullptr);
    EXPECT_EQ(link->palette().color(QPalette::WindowText),
              about.palette().color(QPalette::Highlight));
}

TEST(About, OnlyTheButtonTakesFocusAndTabFollowsTheBoxOrder) {
    RecordingPlatform platform;
    About about(platform);
    for (QWidget* child : about.findChildren<QWidget*>())
        EXPECT_EQ(child->focusPolicy() != Qt::NoFocus, child->objectName() == "cmdOK")
            << child->objectName().toStdString();
    const QStringList expected{"cmdOK", "Label2", "Label1", "lblTitle", "lblDisclaimer"};
    QStringList order;
    QWidget* widget = about.findChild<QWidget*>("cmdOK");
    ASSERT_NE(widget, nullptr);
    for (int step = 0; widget != &about && step < 20; ++step, widget = widget->nextInFocusChain())
        if (expected.contains(widget->objectName())) order << widget->objectName();
    EXPECT_EQ(order, expected);
}

// Enter, Escape and the close box all do what the O K button does.
enum class Closing { Return, Enter, Escape, CloseBox, Click };

class AboutClosing : public ::testing::TestWithParam<Closing> {};

TEST_P(AboutClosing, ClosesTheBoxAsOKDoes) {
    RecordingPlatform platform;
    About about(platform);
    about.show();
    auto* ok = about.findChild<QPushButton*>("cmdOK");
    ASSERT_NE(ok, nullptr);
    switch (GetParam()) {
        case Closing::Return:
            QTest::keyClick(ok, Qt::Key_Return);
            break;
        case Closing::Enter:
            QTest::keyClick(ok, Qt::Key_Enter);
            break;
        case Closing::Escape:
            QTest::keyClick(ok, Qt::Key_Escape);
            break;
        case Closing::CloseBox:
            about.close();
            break;
        case Closing::Click:
            QTest::mouseClick(ok, Qt::LeftButton);
            break;
    }
    EXPECT_FALSE(about.isVisible());
    EXPECT_EQ(about.result(), QDialog::Accepted);
    EXPECT_EQ(platform.Count("ShellOpen"), 0);
}

std::string ClosingName(const ::testing::TestParamInfo<Closing>& info) {
    static const char* const names[] = {"Return", "Enter", "Escape", "CloseBox", "Click"};
    return names[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(About, AboutClosing,
                         ::testing::Values(Closing::Return, Closing::Enter, Closing::Escape,
                                           Closing::CloseBox, Closing::Click),
                         ClosingName);

TEST(About, LinkOpensTheHomePageAndTheBoxStaysOpen) {
    RecordingPlatform platform;
    About about(platform);
    about.show();
    auto* link = about.findChild<QLabel*>("Label1");
    ASSERT_NE(link, nullptr);
    QTest::mouseClick(link, Qt::RightButton);
    EXPECT_EQ(platform.Count("ShellOpen"), 0);
    QTest::mouseClick(link, Qt::LeftButton);
    const auto opened = platform.CallsOf("ShellOpen");
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0].args, (QStringList{"About", "https://kelvara.org/"}));
    EXPECT_TRUE(about.isVisible());
}

}  // namespace

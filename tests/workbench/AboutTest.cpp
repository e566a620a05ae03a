// The About box: its controls as drawn, the fonts it falls back on, the keys that close
// it, and the link that opens the home page while the box stays open.
#include <gtest/gtest.h>

#include <QFontInfo>
#include <QFrame>
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

QString TextOf(const QWidget& widget) {
    if (auto* label = qobject_cast<const QLabel*>(&widget)) return label->text();
    if (auto* button = qobject_cast<const QPushButton*>(&widget)) return button->text();
    return {};
}

struct Control {
    const char* name;
    const char* text;
    int left, top, width, height;  // twips
};

class AboutControl : public ::testing::TestWithParam<Control> {};

TEST_P(AboutControl, StandsWhereDrawnAndShowsAllOfItsText) {
    RecordingPlatform platform;
    About about(platform);
    const Control& c = GetParam();
    auto* widget = about.findChild<QWidget*>(QLatin1String(c.name));
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->geometry(),
              QRect(Px(about, c.left), Px(about, c.top), Px(about, c.width), Px(about, c.height)));
    EXPECT_EQ(TextOf(*widget), QString::fromUtf8(c.text));
    EXPECT_FALSE(widget->accessibleName().isEmpty());
    EXPECT_LE(widget->fontMetrics().horizontalAdvance(TextOf(*widget)), widget->width());
}

INSTANTIATE_TEST_SUITE_P(About, AboutControl,
                         ::testing::Values(Control{"cmdOK", "O K", 2940, 1320, 1260, 345},
                                           Control{"lblDisclaimer", "Made by the Kelvara team", 60,
                                                   1500, 2535, 195},
                                           Control{"lblTitle", "Kelvara", 360, 240, 3285, 360},
                                           Control{"Label1", "kelvara.org", 60, 1260, 1575, 255},
                                           Control{"Label2", "Version 2.0", 2640, 660, 1095, 255}),
                         [](const auto& info) { return std::string(info.param.name); });

struct Look {
    const char* name;
    QStringList families;  // the font asked for, then its acceptable stand-ins
    double points;
    bool bold, underline;
};

class AboutLook : public ::testing::TestWithParam<Look> {};

TEST_P(AboutLook, UsesItsFontOrAStandIn) {
    RecordingPlatform platform;
    About about(platform);
    const Look& look = GetParam();
    auto* widget = about.findChild<QWidget*>(QLatin1String(look.name));
    ASSERT_NE(widget, nullptr);
    const QFont font = widget->font();
    EXPECT_DOUBLE_EQ(font.pointSizeF(), look.points);
    EXPECT_EQ(font.bold(), look.bold);
    EXPECT_EQ(font.underline(), look.underline);
    EXPECT_TRUE(look.families.contains(QFontInfo(font).family()))
        << QFontInfo(font).family().toStdString();
}

const QStringList Serif{"Times New Roman", "Liberation Serif", "DejaVu Serif"};
const QStringList Sans{"Arial", "Liberation Sans", "DejaVu Sans"};
const QStringList DialogSans{"MS Sans Serif", "Microsoft Sans Serif", "Liberation Sans", "Arial",
                             "DejaVu Sans"};

INSTANTIATE_TEST_SUITE_P(About, AboutLook,
                         ::testing::Values(Look{"lblTitle", Serif, 15.75, true, false},
                                           Look{"Label1", Sans, 8.25, false, true},
                                           Look{"Label2", Sans, 9, false, false},
                                           Look{"lblDisclaimer", DialogSans, 8.25, false, false},
                                           Look{"cmdOK", DialogSans, 8.25, false, false}),
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

TEST(About, RuleIsAWhiteLineAboveAShorterGreyOne) {
    RecordingPlatform platform;
    About about(platform);
    auto* white = about.findChild<QFrame*>("Line1_0");
    auto* grey = about.findChild<QFrame*>("Line1_1");
    ASSERT_TRUE(white && grey);
    EXPECT_EQ(white->geometry(),
              QRect(Px(about, 60), Px(about, 1080), Px(about, 4380) - Px(about, 60), 2));
    EXPECT_EQ(grey->geometry(),
              QRect(Px(about, 60), Px(about, 1140), Px(about, 4350) - Px(about, 60), 1));
    EXPECT_EQ(white->palette().color(QPalette::Window), QColor(255, 255, 255));
    EXPECT_EQ(grey->palette().color(QPalette::Window), QColor(128, 128, 128));
}

TEST(About, OnlyTheButtonTakesFocusAndTabFollowsTheBoxOrder) {
    RecordingPlatform platform;
    About about(platform);
    for (QWidget* child : about.findChildren<QWidget*>()) {
        const bool isButton = child->objectName() == "cmdOK";
        EXPECT_EQ(child->focusPolicy() != Qt::NoFocus, isButton)
            << child->objectName().toStdString();
    }
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

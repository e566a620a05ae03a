// The About box: its controls as drawn, the fonts it falls back on, the keys that close
// it, and the link that opens the home page while the box stays open.
#include <gtest/gtest.h>

#include <QFontInfo>
#include <QStringList>
#include <QTest>

#include "About.h"
#include "NamedRows.h"
#include "RecordingPlatform.h"

namespace {

// A fresh box over a platform that records what the box asks of it.
struct Box {
    RecordingPlatform platform;
    About about{platform};
    int Px(int twips) const { return qRound(twips * about.logicalDpiX() / 1440.0); }
    QWidget* Child(const char* name) { return about.findChild<QWidget*>(QLatin1String(name)); }
};

const QStringList Serif{"Times New Roman", "Liberation Serif", "DejaVu Serif"};
const QStringList Sans{"Arial", "Liberation Sans", "DejaVu Sans"};
const QStringList DialogSans{"MS Sans Serif", "Microsoft Sans Serif", "Liberation Sans", "Arial",
                             "DejaVu Sans"};

struct Control {
    const char *name, *text;
    int left, top, width, height;  // twips
    const QStringList* families;   // the font asked for, then its acceptable stand-ins
    double points;
    bool bold, underline;
};

class AboutControl : public ::testing::TestWithParam<Control> {};

TEST_P(AboutControl, StandsWhereDrawnInItsFontAndShowsAllOfItsText) {
    Box box;
    const Control& c = GetParam();
    QWidget* widget = box.Child(c.name);
    ASSERT_NE(widget, nullptr);
    const QString text = widget->property("text").toString();
    EXPECT_EQ(text, QString::fromUtf8(c.text));
    EXPECT_EQ(widget->geometry(),
              QRect(box.Px(c.left), box.Px(c.top), box.Px(c.width), box.Px(c.height)));
    EXPECT_LE(widget->fontMetrics().horizontalAdvance(text), widget->width());
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
    ByName());

TEST(About, IsAFixedWhiteBoxWithTheProgramIconWhereOnlyTheButtonTakesFocus) {
    Box box;
    EXPECT_EQ(box.about.windowTitle(), "About Kelvara");
    EXPECT_EQ(box.about.minimumSize(), QSize(box.Px(4440), box.Px(1815)));
    EXPECT_EQ(box.about.maximumSize(), box.about.minimumSize());
    EXPECT_FALSE(box.about.windowFlags() &
                 (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
    EXPECT_TRUE(box.about.windowFlags() & Qt::WindowCloseButtonHint);
    EXPECT_EQ(box.about.palette().color(QPalette::Window), QColor(255, 255, 255));
    EXPECT_TRUE(box.about.windowIcon().availableSizes().contains(QSize(32, 32)));
    EXPECT_EQ(box.Child("Label1")->palette().color(QPalette::WindowText),
              box.about.palette().color(QPalette::Highlight));

    for (QWidget* child : box.about.findChildren<QWidget*>())
        EXPECT_EQ(child->focusPolicy() != Qt::NoFocus, child->objectName() == "cmdOK")
            << child->objectName().toStdString();
    const QStringList expected{"cmdOK", "Label2", "Label1", "lblTitle", "lblDisclaimer"};
    QStringList order;
    QWidget* widget = box.Child("cmdOK");
    for (int step = 0; widget != &box.about && step < 20;
         ++step, widget = widget->nextInFocusChain())
        if (expected.contains(widget->objectName())) order << widget->objectName();
    EXPECT_EQ(order, expected);
}

// Enter, Escape, the close box and a click all do what the O K button does.
TEST(About, KeysTheCloseBoxAndAClickCloseItAsOKDoes) {
    for (const int way : {int(Qt::Key_Return), int(Qt::Key_Enter), int(Qt::Key_Escape), 0, 1}) {
        Box box;
        box.about.show();
        QWidget* ok = box.Child("cmdOK");
        if (way == 0) {
            QTest::mouseClick(ok, Qt::LeftButton);
        } else if (way == 1) {
            box.about.close();
        } else {
            QTest::keyClick(ok, Qt::Key(way));
        }
        EXPECT_FALSE(box.about.isVisible()) << way;
        EXPECT_EQ(box.about.result(), QDialog::Accepted) << way;
    }
}

TEST(About, LinkOpensTheHomePageAndTheBoxStaysOpen) {
    Box box;
    box.about.show();
    QWidget* link = box.Child("Label1");
    QTest::mouseClick(link, Qt::RightButton);
    EXPECT_EQ(box.platform.Count("ShellOpen"), 0);
    QTest::mouseClick(link, Qt::LeftButton);
    const auto opened = box.platform.CallsOf("ShellOpen");
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0].args, (QStringList{"About", "https://kelvara.org/"}));
    EXPECT_TRUE(box.about.isVisible());
}

}  // namespace

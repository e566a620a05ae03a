#include "About.h"

#include <QEvent>
#include <QFont>
#include <QFrame>
#include <QLabel>
#include <QList>
#include <QMouseEvent>
#include <QPalette>
#include <QPushButton>
#include <QStringList>

#include "AppIcon.h"
#include "DialogFont.h"
#include "HomePage.h"
#include "Platform.h"

namespace {

const QColor White(255, 255, 255);
const QColor Black(0, 0, 0);
const QColor Grey(128, 128, 128);

// The line naming the maker, under the link.
const char* const Disclaimer = "Made by the Kelvara team";

// Fonts are asked for by their usual names first, then by metric-compatible stand-ins and
// the fonts most desktops have, so the box keeps its proportions wherever it runs.
QFont FontOf(const QStringList& families, QFont::StyleHint hint, double points) {
    QFont font;
    font.setFamilies(families);
    font.setStyleHint(hint);
    font.setPointSizeF(points);
    return font;
}

QFont ArialFont(double points) {
    return FontOf(
        {QStringLiteral("Arial"), QStringLiteral("Liberation Sans"), QStringLiteral("DejaVu Sans")},
        QFont::SansSerif, points);
}

QFont TimesFont(double points) {
    return FontOf({QStringLiteral("Times New Roman"), QStringLiteral("Liberation Serif"),
                   QStringLiteral("DejaVu Serif")},
                  QFont::Serif, points);
}

// The home page as the link shows it: without the scheme and the trailing slash.
QString ShownAddress(QString address) {
    const int scheme = address.indexOf(QStringLiteral("://"));
    if (scheme >= 0) address.remove(0, scheme + 3);
    while (address.endsWith(QLatin1Char('/')))
        address.chop(1);
    return address;
}

void SetColor(QWidget& widget, QPalette::ColorRole role, const QColor& color) {
    QPalette palette = widget.palette();
    palette.setColor(role, color);
    widget.setPalette(palette);
}

QLabel* NewLabel(QWidget* parent, const char* name, const QString& text) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(QLatin1String(name));
    label->setAccessibleName(text);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    return label;
}

// A rule of the box: a strip of one colour, as thick as the line it draws.
QFrame* NewLine(QWidget* parent, const char* name, const QColor& color) {
    auto* line = new QFrame(parent);
    line->setObjectName(QLatin1String(name));
    line->setAccessibleName(QStringLiteral("Separator"));
    line->setFrameShape(QFrame::NoFrame);
    line->setAutoFillBackground(true);
    SetColor(*line, QPalette::Window, color);
    return line;
}

}  // namespace

About::About(Platform& platform, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::CustomizeWindowHint |
                          Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                          Qt::WindowCloseButtonHint),
      platform_(platform) {
    setObjectName(QStringLiteral("About"));
    setWindowTitle(QStringLiteral("About Kelvara"));
    setAccessibleName(QStringLiteral("About Kelvara"));
    setWindowIcon(AppIcon());
    setFont(DialogFont());
    SetColor(*this, QPalette::Window, White);
    setAutoFillBackground(true);
    setSizeGripEnabled(false);
    setFixedSize(Twips(4440), Twips(1815));

    auto place = [this](QWidget* widget, int left, int top, int width, int height) {
        widget->setGeometry(Twips(left), Twips(top), Twips(width), Twips(height));
    };

    // The controls in the box's order of definition.
    auto* cmdOK = new QPushButton(QStringLiteral("O K"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setAccessibleName(QStringLiteral("OK"));
    place(cmdOK, 2940, 1320, 1260, 345);
    SetColor(*cmdOK, QPalette::Button, White);
    cmdOK->setAutoDefault(true);
    cmdOK->setDefault(true);
    connect(cmdOK, &QPushButton::clicked, this, &About::cmdOK_Click);

    QLabel* lblDisclaimer = NewLabel(this, "lblDisclaimer", QString::fromLatin1(Disclaimer));
    place(lblDisclaimer, 60, 1500, 2535, 195);
    SetColor(*lblDisclaimer, QPalette::WindowText, Black);

    // The rule under the title block: a white line 2 pixels thick, and 60 twips below it
    // a grey one, 1 pixel thick and 30 twips shorter.
    QFrame* line0 = NewLine(this, "Line1_0", White);
    line0->setGeometry(Twips(60), Twips(1080), Twips(4380) - Twips(60), 2);

    QLabel* lblTitle = NewLabel(this, "lblTitle", QStringLiteral("Kelvara"));
    place(lblTitle, 360, 240, 3285, 360);
    QFont titleFont = TimesFont(15.75);
    titleFont.setWeight(QFont::Bold);
    lblTitle->setFont(titleFont);
    SetColor(*lblTitle, QPalette::WindowText, Black);

    QFrame* line1 = NewLine(this, "Line1_1", Grey);
    line1->setGeometry(Twips(60), Twips(1140), Twips(4350) - Twips(60), 1);

    Label1_ = NewLabel(this, "Label1", ShownAddress(QString::fromUtf8(HomePageAddress)));
    Label1_->setAccessibleName(QStringLiteral("Home page: ") + Label1_->text());
    place(Label1_, 60, 1260, 1575, 255);
    QFont linkFont = ArialFont(8.25);
    linkFont.setUnderline(true);
    Label1_->setFont(linkFont);
    SetColor(*Label1_, QPalette::WindowText, palette().color(QPalette::Highlight));
    Label1_->setCursor(Qt::PointingHandCursor);
    Label1_->installEventFilter(this);

    QLabel* Label2 = NewLabel(this, "Label2", QStringLiteral("Version 2.0"));
    place(Label2, 2640, 660, 1095, 255);
    Label2->setFont(ArialFont(9));

    // Tab order: the button, then the labels from the version line to the disclaimer. Qt
    // links only focusable widgets, so the labels are focusable just while being linked;
    // afterwards the button is the only control that takes the focus.
    const QList<QWidget*> tabOrder = {cmdOK, Label2, Label1_, lblTitle, lblDisclaimer};
    for (QWidget* widget : tabOrder)
        widget->setFocusPolicy(Qt::TabFocus);
    for (qsizetype i = 1; i < tabOrder.size(); ++i)
        setTabOrder(tabOrder[i - 1], tabOrder[i]);
    for (QWidget* widget : tabOrder)
        widget->setFocusPolicy(Qt::NoFocus);
    cmdOK->setFocusPolicy(Qt::StrongFocus);
    cmdOK->setFocus();
}

void About::cmdOK_Click() {
    done(QDialog::Accepted);
}

void About::Label1_Click() {
    platform_.ShellOpen(this, QString::fromUtf8(HomePageAddress));
}

void About::reject() {
    cmdOK_Click();
}

bool About::eventFilter(QObject* watched, QEvent* event) {
    if (watched != Label1_) return QDialog::eventFilter(watched, event);
    // A click on the link is a press and a release of the left button over it; the second
    // press of a double click is not a new click.
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseButtonRelease: {
            const auto* mouse = static_cast<QMouseEvent*>(event);
            if (mouse->button() != Qt::LeftButton) return false;
            if (event->type() == QEvent::MouseButtonPress) {
                linkPressed_ = true;
            } else if (event->type() == QEvent::MouseButtonRelease) {
                const bool click =
                    linkPressed_ && Label1_->rect().contains(mouse->position().toPoint());
                linkPressed_ = false;
                if (click) Label1_Click();
            }
            return true;
        }
        default:
            return QDialog::eventFilter(watched, event);
    }
}

int About::Twips(int twips) const {
    return qRound(twips * logicalDpiX() / 1440.0);
}

#pragma once
// The About box: product name, version, a link to the home page and an O K button that
// Enter and Escape press. Built afresh on every showing.

#include <QDialog>

class Platform;
class QLabel;
class QPushButton;

class About : public QDialog {
    Q_OBJECT

public:
    explicit About(Platform& platform, QWidget* parent = nullptr);

    void cmdOK_Click();
    void Label1_Click();

private:
    // Escape and the window's close box press O K, just as Enter does.
    void reject() override;
    // Turns a left click on the link label into Label1_Click.
    bool eventFilter(QObject* watched, QEvent* event) override;
    // A length in twips as pixels at the screen's logical resolution.
    int Twips(int twips) const;

    Platform& platform_;
    QLabel* Label1_ = nullptr;
    bool linkPressed_ = false;  // the left button went down on the link
};

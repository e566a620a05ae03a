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
    Platform& platform_;
};

#pragma once
// Kelvara's own reader of help.chm, for desktops without a program for compiled help: the
// table of contents and the index beside the pages, which show with their pictures and
// styles and whose links lead on within the file (and to the web browser for web
// addresses).

#include <QMainWindow>
#include <QTextBrowser>
#include <memory>

#include "HelpFile.h"

class QLineEdit;
class QListWidget;
class QTabWidget;
class QTreeWidget;
class QTreeWidgetItem;

// The page view: a text browser that takes its pages, pictures and style sheets from the
// help file. Pages are addressed by their path in the file ("/index.htm").
class HelpBrowser : public QTextBrowser {
    Q_OBJECT

public:
    HelpBrowser(const HelpFile& file, QWidget* parent);
    QVariant loadResource(int type, const QUrl& name) override;

private:
    const HelpFile& file_;
};

class HelpWindow : public QMainWindow {
    Q_OBJECT

public:
    // A window over the help file at path, or nullptr when it cannot be read as one.
    static HelpWindow* Open(const QString& path, QWidget* parent = nullptr);

    QTreeWidget* Contents;
    QLineEdit* IndexFilter;
    QListWidget* Index;
    HelpBrowser* Page;

    // Shows the page at local ("window.htm", "numbers.htm#hex").
    void ShowTopic(const QString& local);

private:
    explicit HelpWindow(std::unique_ptr<HelpFile> file, QWidget* parent);
    void FillContents();
    void FillIndex();
    void FilterIndex(const QString& text);
    void MarkCurrentTopic(const QUrl& source);

    std::unique_ptr<HelpFile> file_;
    QTabWidget* tabs_;
};

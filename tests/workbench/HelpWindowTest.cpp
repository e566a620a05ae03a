// The program's own help window over the help.chm of this build, used with clicks and keys,
// and Help > Contents falling back to it when the desktop has no program for the file.
#include <gtest/gtest.h>

#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QTest>
#include <QTextBlock>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <algorithm>
#include <memory>

#include "HelpWindow.h"
#include "WindowFixture.h"

namespace {

const QString HelpChm = QStringLiteral(KELVARA_HELP_CHM);

// The links of the page on show, as written in it, each with its place in the text.
QList<std::pair<QString, int>> Links(const QTextBrowser& page) {
    QList<std::pair<QString, int>> links;
    for (QTextBlock block = page.document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QString href = it.fragment().charFormat().anchorHref();
            if (!href.isEmpty()) links.emplaceBack(href, it.fragment().position());
        }
    }
    return links;
}

class HelpWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        window.reset(HelpWindow::Open(HelpChm));
        ASSERT_NE(window, nullptr) << HelpChm.toStdString();
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }
    void Click(QAbstractItemView* view, const QModelIndex& index) {
        view->scrollTo(index);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(index).center());
    }
    std::unique_ptr<HelpWindow> window;
};

// Every contents entry, clicked, shows its page; every link of those pages leads to a page
// or picture of the file (or to the web), and an anchor named in a link is on its page.
TEST_F(HelpWindowTest, ContentsEntriesOpenPagesWhoseLinksAllLead) {
    EXPECT_EQ(window->windowTitle(), "Kelvara Help");
    EXPECT_EQ(window->Page->source().path(), "/index.htm");
    int entries = 0;
    for (QTreeWidgetItemIterator it(window->Contents); *it != nullptr; ++it, ++entries) {
        const QString local = (*it)->data(0, Qt::UserRole).toString();
        Click(window->Contents, window->Contents->indexFromItem(*it));
        ASSERT_EQ(window->Page->source().path(), "/" + QUrl(local).path()) << local.toStdString();
        EXPECT_FALSE(window->Page->documentTitle().isEmpty()) << local.toStdString();
        EXPECT_GT(window->Page->toPlainText().size(), 100) << local.toStdString();
        for (const auto& [href, at] : Links(*window->Page)) {
            const QUrl target = window->Page->source().resolved(QUrl(href));
            if (target.scheme() != "qrc") continue;  // a web address
            const QVariant page = window->Page->loadResource(QTextDocument::HtmlResource, target);
            ASSERT_TRUE(page.isValid()) << local.toStdString() << " -> " << href.toStdString();
            if (target.hasFragment()) {
                EXPECT_TRUE(
                    page.toByteArray().contains("id=\"" + target.fragment().toUtf8() + '"') ||
                    page.toByteArray().contains("name=\"" + target.fragment().toUtf8() + '"'))
                    << href.toStdString();
            }
        }
    }
    EXPECT_GE(entries, 12);  // the file's twelve pages, some under more than one entry
    ASSERT_GT(window->Index->count(), 40);
}

// A click on a link in the page follows it; Back (Alt+Left) returns.
TEST_F(HelpWindowTest, LinksFollowAndBackReturns) {
    QTextBrowser* page = window->Page;
    const auto links = Links(*page);
    const auto link = std::find_if(links.begin(), links.end(),
                                   [](const auto& l) { return QUrl(l.first).isRelative(); });
    ASSERT_NE(link, links.end());
    QTextCursor cursor(page->document());
    cursor.setPosition(link->second + 1);
    page->setTextCursor(cursor);
    page->ensureCursorVisible();
    QTest::mouseClick(page->viewport(), Qt::LeftButton, {}, page->cursorRect(cursor).center());
    EXPECT_EQ(page->source().path(), "/" + QUrl(link->first).path());
    QTest::keyClick(window.get(), Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(page->source().path(), "/index.htm");
}

// Typing a keyword in the index selects the first entry that begins with it; Enter opens it.
TEST_F(HelpWindowTest, IndexKeywordOpensItsPage) {
    for (const char* keyword : {"lu", "Export", "run-t"}) {
        window->IndexFilter->clear();
        QTest::keyClicks(window->IndexFilter, QString::fromLatin1(keyword));
        QListWidgetItem* entry = window->Index->currentItem();
        ASSERT_NE(entry, nullptr) << keyword;
        EXPECT_TRUE(entry->text().startsWith(QLatin1String(keyword), Qt::CaseInsensitive));
        QTest::keyClick(window->IndexFilter, Qt::Key_Return);
        EXPECT_EQ(window->Page->source().path(),
                  "/" + QUrl(entry->data(Qt::UserRole).toString()).path());
    }
}

TEST(HelpFile, ParsesNestedSitemapsAndRefusesOtherFiles) {
    const auto topics = HelpFile::ParseSitemap(QStringLiteral(
        R"(<UL><LI><OBJECT type="text/sitemap"><param name="Name" value="A &amp; B">
           <param name="Local" value="a.htm#x"><param name="Local" value="b.htm"></OBJECT>
           <UL><LI><object type='text/sitemap'><PARAM NAME=name VALUE=Inner>
           <param name="Local" value="c.htm"></object></UL>
           <LI><OBJECT type="text/site properties"><param name="Name" value="no"></OBJECT>
           <LI><OBJECT type="text/sitemap"><param name="Name" value="Last"></OBJECT></UL>)"));
    QStringList read;  // name, depth, page of each topic
    for (const auto& topic : topics)
        read << topic.name + " " + QString::number(topic.depth) + " " + topic.local;
    EXPECT_EQ(read, (QStringList{"A & B 0 a.htm#x", "Inner 1 c.htm", "Last 0 "}));
    // Not a help file, or none at all: no window.
    EXPECT_EQ(HelpWindow::Open(QStringLiteral(__FILE__)), nullptr);
    EXPECT_EQ(HelpWindow::Open(QStringLiteral("/nonexistent/help.chm")), nullptr);
}

// Help > Contents hands the file to the desktop first; only when that finds no program does
// the help window open, once however often the command is given, and only for a real file.
TEST_F(WindowTest, HelpContentsFallsBackToTheHelpWindow) {
    platform.programFolder = QFileInfo(HelpChm).absolutePath();
    window->mnuHelpCont->trigger();
    EXPECT_EQ(window->findChildren<HelpWindow*>().size(), 0);
    platform.shellOpens = false;
    window->mnuHelpCont->trigger();
    window->mnuHelpCont->trigger();
    ASSERT_EQ(window->findChildren<HelpWindow*>().size(), 1);
    HelpWindow* help = window->findChildren<HelpWindow*>()[0];
    EXPECT_TRUE(help->isVisible());
    EXPECT_TRUE(help->isWindow());
    EXPECT_EQ(platform.Count("ShellOpen"), 3);
    help->close();  // closing releases it
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(window->findChildren<HelpWindow*>().size(), 0);
    platform.programFolder = QStringLiteral("/nonexistent");
    window->mnuHelpCont->trigger();
    EXPECT_EQ(window->findChildren<HelpWindow*>().size(), 0);
}

}  // namespace

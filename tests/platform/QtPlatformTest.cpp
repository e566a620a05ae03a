// The Qt side of the platform: filters, the file test, and message boxes answered by a
// simulated user.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeDatabase>
#include <QTemporaryDir>
#include <QTimer>

#include "Latin1Selection.h"
#include "NamedRows.h"
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

// The export dialog's first folder in a scratch home: the documents folder the desktop
// names once it exists, and the home folder until then.
TEST(QtPlatformTest, DocumentsFolderFallsBackToHome) {
    QTemporaryDir home;
    const QByteArray saved[] = {qgetenv("HOME"), qgetenv("XDG_CONFIG_HOME")};
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath("config").toUtf8());
    QtPlatform platform;
    EXPECT_EQ(platform.DocumentsFolder(), home.path());
    ASSERT_TRUE(QDir(home.path()).mkdir("Documents"));
    EXPECT_EQ(platform.DocumentsFolder(), home.filePath("Documents"));
    // The desktop's own name for it, as the user's folder settings give it.
    ASSERT_TRUE(QDir(home.path()).mkpath("config") && QDir(home.path()).mkdir("Papers"));
    QFile dirs(home.filePath("config/user-dirs.dirs"));
    ASSERT_TRUE(dirs.open(QIODevice::WriteOnly) &&
                dirs.write("XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n") > 0);
    dirs.close();
    EXPECT_EQ(platform.DocumentsFolder(), home.filePath("Papers"));
    qputenv("HOME", saved[0]);
    saved[1].isNull() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", saved[1]);
}

// The desktop's associations, in a scratch home: which lists name which program for the
// help file's type (or its alias), and whether that program is installed.
struct AssociationCase {
    const char* name;
    const char* file;  // under the scratch folder
    const char* text;
    bool installed;
    bool found;
};
class DefaultProgramTest : public ::testing::TestWithParam<AssociationCase> {};

TEST_P(DefaultProgramTest, TellsWhetherTheDesktopHasAProgramForTheHelpFile) {
    const AssociationCase& c = GetParam();
    QTemporaryDir dir;
    // Qt finds the types' database through XDG_DATA_DIRS too, and looks again only after a
    // few seconds: load it before that points into the scratch folder.
    ASSERT_TRUE(QMimeDatabase().mimeTypeForName("application/vnd.ms-htmlhelp").isValid());
    const char* names[] = {"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_HOME", "XDG_DATA_DIRS",
                           "XDG_CURRENT_DESKTOP"};
    const QString values[] = {dir.filePath("config"), dir.filePath("etc"), dir.filePath("data"),
                              dir.filePath("usr"), QStringLiteral("Test")};
    QByteArray saved[5];
    for (int i = 0; i < 5; ++i) {
        saved[i] = qgetenv(names[i]);
        qputenv(names[i], values[i].toUtf8());
    }
    auto write = [&](const QString& path, const QByteArray& text) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    write(dir.filePath("help.chm"), "ITSF");
    if (*c.file) write(dir.filePath(c.file), c.text);
    if (c.installed) {
        write(dir.filePath("usr/applications/viewer.desktop"),
              "[Desktop Entry]\nType=Application\nName=Viewer\nExec=true %f\n");
    }
    QtPlatform platform;
    EXPECT_EQ(QtPlatform::HasDefaultProgram(dir.filePath("help.chm")), c.found);
    if (!c.found) {
        EXPECT_FALSE(platform.ShellOpen(nullptr, dir.filePath("help.chm")));
    }
    for (int i = 0; i < 5; ++i)
        saved[i].isNull() ? qunsetenv(names[i]) : qputenv(names[i], saved[i]);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, DefaultProgramTest,
    ::testing::Values(
        AssociationCase{"none", "", "", true, false},
        AssociationCase{"user_default", "config/mimeapps.list",
                        "[Default Applications]\napplication/vnd.ms-htmlhelp=viewer.desktop;\n",
                        true, true},
        AssociationCase{"not_installed", "config/mimeapps.list",
                        "[Default Applications]\napplication/vnd.ms-htmlhelp=viewer.desktop\n",
                        false, false},
        AssociationCase{"desktop_list_alias", "etc/test-mimeapps.list",
                        "[Added Associations]\napplication/x-chm=other.desktop;viewer.desktop\n",
                        true, true},
        AssociationCase{
            "program_cache", "usr/applications/mimeinfo.cache",
            "[MIME Cache]\ntext/html=x.desktop\napplication/vnd.ms-htmlhelp=viewer.desktop;\n",
            true, true},
        AssociationCase{"removed", "config/mimeapps.list",
                        "[Removed Associations]\napplication/vnd.ms-htmlhelp=viewer.desktop\n",
                        true, false},
        AssociationCase{"other_type", "config/mimeapps.list",
                        "[Default Applications]\ntext/html=viewer.desktop\n", true, false}));

// What Latin-1 lacks is spelt in it (or escaped), never turned into "?".
TEST(Latin1SelectionTest, SpellsWhatLatin1Lacks) {
    const std::pair<const char*, QByteArray> cases[] = {
        {"5 \u20AC", "5 EUR"},
        {"\u2212"
         "1\u2026",
         "-1..."},
        {"caf\u00E9 \u00BD", "caf\xE9 \xBD"},
        {"\uFB01 \uFF15", "fi 5"},  // a ligature and a full-width digit
        {"\U0001F600\u4E00", "\\x{1F600}\\x{4E00}"},
    };
    for (const auto& [text, latin1] : cases)
        EXPECT_EQ(Latin1Selection::ToLatin1(QString::fromUtf8(text)), latin1) << text;
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

// Writing the result sheet to a file: its used range only, through a save file, so that a
// failed write neither leaves a half file nor harms the old one, and never over anything
// that is not an ordinary file. (The formats themselves are the export tests' business.)
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <string>

#include "GridModel.h"
#include "ResultExport.h"

namespace {

class ResultExportTest : public ::testing::Test {
protected:
    QString Path(const char* name) const { return dir_.filePath(QString::fromLatin1(name)); }
    bool Write(const QString& path) {
        return ResultExport::WriteFile(sheet_, Export::Format::Csv, '.', path);
    }
    std::string Read(const char* name) const {
        QFile file(Path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "<unreadable>";
    }
    void Put(const char* name, const char* text) const {
        QFile file(Path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    QTemporaryDir dir_;
    GridModel sheet_;
};

// Headings and the empty rows and columns after the last filled cell (of a sheet that has
// more) are left out; empty rows and columns before it are written. A sheet of headings only gives
// an empty file.
TEST_F(ResultExportTest, WritesTheUsedRange) {
    sheet_.SetCellText(0, 9, "Head");  // headings beyond the used range
    sheet_.SetCellText(40, 0, "Head");
    sheet_.SetCellText(1, 2, "a");
    sheet_.SetCellText(3, 4, "b");
    ASSERT_TRUE(Write(Path("used.csv")));
    EXPECT_EQ(Read("used.csv"), ",a,,\r\n,,,\r\n,,,b\r\n");
    sheet_.SetRows(1);
    ASSERT_TRUE(Write(Path("headings.csv")));
    EXPECT_EQ(Read("headings.csv"), "");
}

// Places that cannot be written answer false. Things that are not ordinary files answer
// false and stay what they were: a folder, a pipe, a socket, a device (where the system lets
// us make one) and a link to one of them.
TEST_F(ResultExportTest, UnwritablePlacesAndTargetsThatAreNoFilesAnswerFalse) {
    sheet_.SetCellText(1, 1, "1");
    Put("plain", "");
    for (const QString& place : {QString(), Path("missing/out"), Path("plain/out")})
        EXPECT_FALSE(Write(place)) << place.toStdString();

    ASSERT_TRUE(QDir(dir_.path()).mkdir(QStringLiteral("folder")));
    const std::string fifo = Path("fifo").toStdString();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string socketPath = Path("socket").toStdString();
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(socketPath.size(), sizeof(address.sun_path));
    socketPath.copy(address.sun_path, socketPath.size());
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_TRUE(QFile::link(Path("fifo"), Path("link")));
    const std::string device = Path("null").toStdString();
    static_cast<void>(mknod(device.c_str(), S_IFCHR | 0600, makedev(1, 3)));  // may be refused

    for (const char* name : {"folder", "fifo", "socket", "link", "null"}) {
        struct stat before {};
        if (lstat(Path(name).toStdString().c_str(), &before) != 0) continue;
        EXPECT_FALSE(Write(Path(name))) << name;
        struct stat after {};
        ASSERT_EQ(lstat(Path(name).toStdString().c_str(), &after), 0) << name;
        EXPECT_EQ(after.st_mode, before.st_mode) << name;
        EXPECT_EQ(after.st_ino, before.st_ino) << name;
    }
    close(fd);
}

// A file size limit makes writes fail as on a full disk. (Not /dev/full: run as root,
// QSaveFile would put a plain file in place of the device.) The old file stays as it was,
// and no temporary file is left behind.
TEST_F(ResultExportTest, FullDiskAnswersFalseAndKeepsTheOldFile) {
    for (int r = 1; r <= 3000; ++r)
        for (int c = 1; c <= 20; ++c)
            sheet_.SetCellText(r, c, "text 0.333333333333333");
    Put("out", "previous");
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limited{64 * 1024, saved.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    const bool written = Write(Path("out"));
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);
    EXPECT_FALSE(written);
    EXPECT_EQ(Read("out"), "previous");
    EXPECT_EQ(QDir(dir_.path()).entryList(QDir::Files), QStringList{QStringLiteral("out")});
}

}  // namespace

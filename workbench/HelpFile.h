#pragma once
// The compiled help file (help.chm) as the help window reads it, through chmlib: its pages
// and pictures by path, its title and first page, and its table of contents and index.

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

struct chmFile;

class HelpFile {
public:
    // One entry of the contents or the index: its caption, the page it opens ("window.htm",
    // perhaps with "#anchor"), and how deep it is nested (0 for the top level).
    struct Topic {
        QString name;
        QString local;
        int depth = 0;
    };

    explicit HelpFile(const QString& path);
    ~HelpFile();
    HelpFile(const HelpFile&) = delete;
    HelpFile& operator=(const HelpFile&) = delete;

    // Whether the file could be opened as a compiled help file.
    bool IsOpen() const { return file_ != nullptr; }
    // The bytes of the file stored under path ("/index.htm"), if there is one.
    std::optional<QByteArray> Read(const QString& path) const;

    const QString& Title() const { return title_; }
    // The path of the page shown first ("/index.htm").
    const QString& DefaultTopic() const { return defaultTopic_; }
    const std::vector<Topic>& Contents() const { return contents_; }
    // The index, sorted by caption.
    const std::vector<Topic>& Index() const { return index_; }

    // The entries of a contents or index file (HTML lists of "text/sitemap" objects).
    static std::vector<Topic> ParseSitemap(const QString& html);

private:
    void ReadSystem();

    struct Close {
        void operator()(chmFile* file) const;
    };
    std::unique_ptr<chmFile, Close> file_;
    QString title_;
    QString defaultTopic_;
    QString contentsPath_;
    QString indexPath_;
    std::vector<Topic> contents_;
    std::vector<Topic> index_;
};

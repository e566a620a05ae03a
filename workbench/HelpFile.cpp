#include "HelpFile.h"

#include <chm_lib.h>

#include <QFile>
#include <QRegularExpression>
#include <QStringDecoder>
#include <algorithm>

namespace {

// A path inside the help file, always from its root: "index.htm" -> "/index.htm".
QString RootPath(QString path) {
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path;
}

QString Unescaped(QString text) {
    text.replace(QLatin1String("&quot;"), QLatin1String("\""));
    text.replace(QLatin1String("&#39;"), QLatin1String("'"));
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return text;
}

// The text of a file of the help compiler's own (contents, index), in the help file's
// single-byte code page unless it says otherwise; our files are ASCII or UTF-8.
QString DecodedHtml(const QByteArray& bytes) {
    QStringDecoder decoder = QStringDecoder::decoderForHtml(bytes);
    if (!decoder.isValid()) decoder = QStringDecoder(QStringDecoder::Utf8);
    return decoder(bytes);
}

}  // namespace

HelpFile::HelpFile(const QString& path) {
    if (!QFile::exists(path)) return;
    file_.reset(chm_open(QFile::encodeName(path).constData()));
    if (file_ == nullptr) return;
    ReadSystem();
    if (const auto contents = Read(contentsPath_)) contents_ = ParseSitemap(DecodedHtml(*contents));
    if (const auto index = Read(indexPath_)) index_ = ParseSitemap(DecodedHtml(*index));
    std::stable_sort(index_.begin(), index_.end(), [](const Topic& a, const Topic& b) {
        return a.name.compare(b.name, Qt::CaseInsensitive) < 0;
    });
    if (defaultTopic_.isEmpty() && !contents_.empty()) defaultTopic_ = RootPath(contents_[0].local);
    if (defaultTopic_.isEmpty()) defaultTopic_ = QStringLiteral("/index.htm");
}

HelpFile::~HelpFile() = default;

void HelpFile::Close::operator()(chmFile* file) const {
    chm_close(file);
}

std::optional<QByteArray> HelpFile::Read(const QString& path) const {
    if (file_ == nullptr || path.isEmpty()) return std::nullopt;
    chmUnitInfo unit{};
    const QByteArray name = RootPath(path).toUtf8();
    if (chm_resolve_object(file_.get(), name.constData(), &unit) != CHM_RESOLVE_SUCCESS) {
        return std::nullopt;
    }
    // Our help file is a few hundred kilobytes; anything near the limit is not one of ours.
    if (unit.length > 64u * 1024 * 1024) return std::nullopt;
    QByteArray bytes(static_cast<qsizetype>(unit.length), Qt::Uninitialized);
    const LONGINT64 read =
        chm_retrieve_object(file_.get(), &unit, reinterpret_cast<unsigned char*>(bytes.data()), 0,
                            static_cast<LONGINT64>(unit.length));
    if (read != static_cast<LONGINT64>(unit.length)) return std::nullopt;
    return bytes;
}

// The #SYSTEM file: a version number, then entries of a 16-bit code, a 16-bit length and
// that many bytes: 0 the contents file, 1 the index file, 2 the first page, 3 the title.
void HelpFile::ReadSystem() {
    const QByteArray system = Read(QStringLiteral("/#SYSTEM")).value_or(QByteArray());
    auto word = [&](qsizetype at) {
        return static_cast<unsigned char>(system[at]) | static_cast<unsigned char>(system[at + 1])
                                                            << 8;
    };
    for (qsizetype at = 4; at + 4 <= system.size();) {
        const int code = word(at);
        const qsizetype length = word(at + 2);
        if (at + 4 + length > system.size()) break;
        const QByteArray data = system.mid(at + 4, length);
        const QString text =
            QString::fromUtf8(data.left(data.indexOf('\0') < 0 ? data.size() : data.indexOf('\0')));
        if (code == 0) contentsPath_ = RootPath(text);
        if (code == 1) indexPath_ = RootPath(text);
        if (code == 2 && !text.isEmpty()) defaultTopic_ = RootPath(text);
        if (code == 3) title_ = text;
        at += 4 + length;
    }
}

std::vector<HelpFile::Topic> HelpFile::ParseSitemap(const QString& html) {
    static const QRegularExpression tag(QStringLiteral(R"(<\s*(/?)\s*(ul|object|param)\b([^>]*)>)"),
                                        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression attribute(
        QStringLiteral(R"re(\b(name|value|type)\s*=\s*(?:"([^"]*)"|'([^']*)'|([^\s>]+)))re"),
        QRegularExpression::CaseInsensitiveOption);

    std::vector<Topic> topics;
    int depth = -1;  // the outermost list holds the top level
    bool inTopic = false;
    Topic topic;
    for (const QRegularExpressionMatch& m : tag.globalMatch(html)) {
        const bool closing = !m.captured(1).isEmpty();
        const QString element = m.captured(2).toLower();
        QString name;
        QString value;
        QString type;
        for (const QRegularExpressionMatch& a : attribute.globalMatch(m.captured(3))) {
            const QString text = Unescaped(a.captured(2) + a.captured(3) + a.captured(4));
            const QString key = a.captured(1).toLower();
            (key == QLatin1String("name")    ? name
             : key == QLatin1String("value") ? value
                                             : type) = text;
        }
        if (element == QLatin1String("ul")) {
            depth += closing ? -1 : 1;
        } else if (element == QLatin1String("object")) {
            if (!closing) {
                inTopic = type.compare(QLatin1String("text/sitemap"), Qt::CaseInsensitive) == 0;
                topic = Topic{{}, {}, std::max(depth, 0)};
            } else if (inTopic) {
                if (!topic.name.isEmpty()) topics.push_back(topic);
                inTopic = false;
            }
        } else if (inTopic) {
            // An entry may name several pages; it opens the first.
            if (name.compare(QLatin1String("Name"), Qt::CaseInsensitive) == 0 &&
                topic.name.isEmpty()) {
                topic.name = value;
            }
            if (name.compare(QLatin1String("Local"), Qt::CaseInsensitive) == 0 &&
                topic.local.isEmpty()) {
                topic.local = value;
            }
        }
    }
    return topics;
}

#include "HelpWindow.h"

#include <QAction>
#include <QHeaderView>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalBlocker>
#include <QSplitter>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QUrl>
#include <QVBoxLayout>
#include <vector>

#include "AppIcon.h"

namespace {

constexpr int LocalRole = Qt::UserRole;  // an entry's page, as the help file names it

// The address of a page for the browser: a path from the file's root, with its anchor. The
// browser follows links itself only within the file and resource schemes; the pages of the
// help file take the resource scheme, and loadResource reads them from the file.
QUrl TopicUrl(const QString& local) {
    QString path = local;
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (!path.startsWith(QLatin1Char('/'))) path.prepend(QLatin1Char('/'));
    return QUrl(QLatin1String("qrc:") + path);
}

}  // namespace

HelpBrowser::HelpBrowser(const HelpFile& file, QWidget* parent)
    : QTextBrowser(parent), file_(file) {
    // Web addresses go to the desktop's browser; the file's own pages stay here.
    setOpenExternalLinks(true);
}

QVariant HelpBrowser::loadResource(int type, const QUrl& name) {
    if (name.scheme() != QLatin1String("qrc")) return {};
    const std::optional<QByteArray> bytes = file_.Read(name.path());
    if (!bytes) return {};
    if (type == QTextDocument::ImageResource) return QImage::fromData(*bytes);
    return *bytes;
}

HelpWindow* HelpWindow::Open(const QString& path, QWidget* parent) {
    auto file = std::make_unique<HelpFile>(path);
    if (!file->IsOpen() || !file->Read(file->DefaultTopic())) return nullptr;
    return new HelpWindow(std::move(file), parent);
}

HelpWindow::HelpWindow(std::unique_ptr<HelpFile> file, QWidget* parent)
    : QMainWindow(parent), file_(std::move(file)) {
    setObjectName(QStringLiteral("HelpWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowFlag(Qt::Window);
    setWindowIcon(AppIcon());
    setWindowTitle(file_->Title().isEmpty() ? QStringLiteral("Kelvara Help") : file_->Title());
    setAccessibleName(windowTitle());

    Page = new HelpBrowser(*file_, this);
    Page->setObjectName(QStringLiteral("Page"));
    Page->setAccessibleName(QStringLiteral("Help page"));

    Contents = new QTreeWidget;
    Contents->setObjectName(QStringLiteral("Contents"));
    Contents->setAccessibleName(QStringLiteral("Contents"));
    Contents->setHeaderHidden(true);
    FillContents();

    IndexFilter = new QLineEdit;
    IndexFilter->setObjectName(QStringLiteral("IndexFilter"));
    IndexFilter->setAccessibleName(QStringLiteral("Index keyword"));
    IndexFilter->setPlaceholderText(QStringLiteral("Type a keyword"));
    Index = new QListWidget;
    Index->setObjectName(QStringLiteral("Index"));
    Index->setAccessibleName(QStringLiteral("Index"));
    FillIndex();
    auto* indexPage = new QWidget;
    auto* indexLayout = new QVBoxLayout(indexPage);
    indexLayout->setContentsMargins(0, 0, 0, 0);
    indexLayout->addWidget(IndexFilter);
    indexLayout->addWidget(Index);

    tabs_ = new QTabWidget;
    tabs_->addTab(Contents, QStringLiteral("&Contents"));
    tabs_->addTab(indexPage, QStringLiteral("I&ndex"));

    auto* splitter = new QSplitter;
    splitter->addWidget(tabs_);
    splitter->addWidget(Page);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({240, 560});
    setCentralWidget(splitter);

    QToolBar* bar = addToolBar(QStringLiteral("Navigation"));
    bar->setMovable(false);
    QAction* back = bar->addAction(QStringLiteral("Back"), Page, &QTextBrowser::backward);
    back->setShortcut(QKeySequence::Back);
    back->setEnabled(false);
    QAction* forward = bar->addAction(QStringLiteral("Forward"), Page, &QTextBrowser::forward);
    forward->setShortcut(QKeySequence::Forward);
    forward->setEnabled(false);
    bar->addAction(QStringLiteral("Home"), this, [this] { ShowTopic(file_->DefaultTopic()); });
    connect(Page, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(Page, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);

    auto openItem = [this](QTreeWidgetItem* item) {
        ShowTopic(item->data(0, LocalRole).toString());
    };
    connect(Contents, &QTreeWidget::itemActivated, this, openItem);
    connect(Contents, &QTreeWidget::itemClicked, this, openItem);
    auto openEntry = [this](QListWidgetItem* item) { ShowTopic(item->data(LocalRole).toString()); };
    connect(Index, &QListWidget::itemActivated, this, openEntry);
    connect(Index, &QListWidget::itemClicked, this, openEntry);
    connect(IndexFilter, &QLineEdit::textEdited, this, &HelpWindow::FilterIndex);
    connect(IndexFilter, &QLineEdit::returnPressed, this, [this, openEntry] {
        if (Index->currentItem() != nullptr) openEntry(Index->currentItem());
    });
    connect(Page, &QTextBrowser::sourceChanged, this, &HelpWindow::MarkCurrentTopic);

    resize(820, 600);
    ShowTopic(file_->DefaultTopic());
}

void HelpWindow::ShowTopic(const QString& local) {
    if (!local.isEmpty()) Page->setSource(TopicUrl(local));
}

// The contents as a tree: each entry goes under the nearest entry before it that is less
// deep.
void HelpWindow::FillContents() {
    std::vector<QTreeWidgetItem*> parents;
    for (const HelpFile::Topic& topic : file_->Contents()) {
        const std::size_t depth = std::min<std::size_t>(topic.depth, parents.size());
        parents.resize(depth);
        auto* item =
            parents.empty() ? new QTreeWidgetItem(Contents) : new QTreeWidgetItem(parents.back());
        item->setText(0, topic.name);
        item->setData(0, LocalRole, topic.local);
        parents.push_back(item);
    }
    Contents->expandAll();
}

void HelpWindow::FillIndex() {
    for (const HelpFile::Topic& topic : file_->Index()) {
        auto* item = new QListWidgetItem(topic.name, Index);
        item->setData(LocalRole, topic.local);
    }
}

// Typing a keyword selects the first index entry that begins with it.
void HelpWindow::FilterIndex(const QString& text) {
    for (int i = 0; i < Index->count(); ++i) {
        if (Index->item(i)->text().startsWith(text.trimmed(), Qt::CaseInsensitive)) {
            Index->setCurrentRow(i);
            Index->scrollToItem(Index->item(i), QAbstractItemView::PositionAtTop);
            return;
        }
    }
}

// Whatever way a page was reached, the contents show where it stands.
void HelpWindow::MarkCurrentTopic(const QUrl& source) {
    const QString path = source.path();
    for (QTreeWidgetItemIterator it(Contents); *it != nullptr; ++it) {
        if (TopicUrl((*it)->data(0, LocalRole).toString()).path() == path) {
            const QSignalBlocker blocker(Contents);
            Contents->setCurrentItem(*it);
            return;
        }
    }
}

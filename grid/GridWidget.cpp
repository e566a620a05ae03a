// The grid widget: a QTableView over the GridModel, with spreadsheet keys, an undo history
// of the grid's own edits and the mouse-button event the window listens to.
#include "GridWidget.h"

#include <QAbstractButton>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPointer>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QUndoStack>
#include <QVBoxLayout>
#include <algorithm>
#include <functional>
#include <map>
#include <optional>

#include "GridEditCommands.h"

namespace {

using PressHook = std::function<void(QWidget* source, QMouseEvent* event)>;

// The fixed headings of the grid; they report button presses like the cells do.
class GridHeader : public QHeaderView {
public:
    GridHeader(Qt::Orientation orientation, QWidget* parent) : QHeaderView(orientation, parent) {}
    PressHook pressHook;

    // The heading's depth (height of the heading row, width of the heading column) comes
    // from the model; the view lays out its cells by this hint.
    void SetDepth(int depth) {
        depth_ = depth;
        setVisible(depth > 0);
        updateGeometry();
    }
    QSize sizeHint() const override { return Hint(); }
    QSize minimumSizeHint() const override { return Hint(); }

protected:
    void mousePressEvent(QMouseEvent* event) override {
        QHeaderView::mousePressEvent(event);
        if (pressHook) pressHook(viewport(), event);
    }
    void mouseDoubleClickEvent(QMouseEvent* event) override {
        QHeaderView::mouseDoubleClickEvent(event);
        if (pressHook) pressHook(viewport(), event);
    }

private:
    QSize Hint() const {
        const QSize content = QHeaderView::sizeHint();
        return orientation() == Qt::Horizontal ? QSize(content.width(), depth_)
                                               : QSize(depth_, content.height());
    }
    int depth_ = 0;
};

// Edits cells in a plain line editor; the text is handed back through `commit` so that
// each edit becomes one step of the grid's undo history.
class GridDelegate : public QStyledItemDelegate {
public:
    explicit GridDelegate(QObject* parent) : QStyledItemDelegate(parent) {}
    std::function<void(const QModelIndex&, const QString&)> commit;
    // A key pressed in the editor, answering true when it was used up; a click into it.
    std::function<bool(QLineEdit*, QKeyEvent*)> editorKey;
    std::function<void()> editorClick;
    mutable QPointer<QLineEdit> lastEditor;  // the editor opened most recently

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex&) const override {
        auto* editor = new QLineEdit(parent);
        editor->setFrame(false);
        lastEditor = editor;
        return editor;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        if (auto* line = qobject_cast<QLineEdit*>(editor)) {
            // The whole text is edited, however long (a line editor cuts at 32767 by default).
            const QString text = index.data(Qt::EditRole).toString();
            line->setMaxLength(std::max(line->maxLength(), int(text.size())));
            line->setText(text);
        }
    }
    void setModelData(QWidget* editor, QAbstractItemModel*,
                      const QModelIndex& index) const override {
        if (auto* line = qobject_cast<QLineEdit*>(editor); line && commit)
            commit(index, line->text());
    }

protected:
    // A cell shows at most what fits across the widest screen: laying out the whole of a
    // text of a million characters on every repaint would freeze the grid. The cell keeps
    // its whole text for editing, copying and export.
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        constexpr qsizetype kShownChars = 4096;
        if (option->text.size() > kShownChars) {
            qsizetype end = kShownChars;
            if (option->text.at(end - 1).isHighSurrogate()) --end;
            option->text.truncate(end);
        }
    }

    // The view has the first say over the open editor's keys and clicks.
    bool eventFilter(QObject* object, QEvent* event) override {
        if (auto* editor = qobject_cast<QLineEdit*>(object)) {
            if (event->type() == QEvent::KeyPress && editorKey &&
                editorKey(editor, static_cast<QKeyEvent*>(event)))
                return true;
            if (event->type() == QEvent::MouseButtonPress && editorClick) editorClick();
        }
        return QStyledItemDelegate::eventFilter(object, event);
    }
};

// The cell area. Keys go to the widget's own handler first; the selection follows a press
// before the press is reported, so a menu opened from the report acts on the new selection.
//
// A cell's editor is opened in one of two ways, as in a spreadsheet. Typing a character (or
// Backspace) starts an *entry*: the arrow keys keep the text and move on, so a row or a
// column of numbers is typed without leaving the keyboard. F2, a double-click or a click
// into the open editor make it an *edit*, in which Left, Right, Home and End move the caret.
class GridView : public QTableView {
public:
    explicit GridView(QWidget* parent) : QTableView(parent) {}
    // Lays out the headings and the cell area again at once.
    void Relayout() { updateGeometries(); }

    // The editor of the cell being edited, or none.
    QLineEdit* OpenEditor() const {
        if (state() != EditingState) return nullptr;
        return static_cast<GridDelegate*>(itemDelegate())->lastEditor;
    }

    // Ends the edit in progress, if any, keeping the typed text; the current cell stays.
    void CommitEdit() {
        if (QLineEdit* editor = OpenEditor()) {
            commitData(editor);
            closeEditor(editor, QAbstractItemDelegate::NoHint);
        }
    }

    // Moves the current cell one row down or up, for Enter and Shift+Enter.
    bool StepVertically(bool up) { return MoveCurrent(up ? MoveUp : MoveDown); }

    // Starts an entry in the current cell with its text emptied, for Backspace. The cell
    // keeps its text until the entry is kept.
    bool StartEmptyEntry() {
        const QModelIndex index = currentIndex();
        if (state() == EditingState || !index.isValid() || !edit(index, AnyKeyPressed, nullptr))
            return false;
        if (QLineEdit* editor = OpenEditor()) editor->clear();
        return true;
    }

    // A key in the open editor: one that ends it keeps the text and moves one cell, or
    // leaves the current cell where it is at the grid's edge.
    bool EditorKey(QLineEdit* editor, QKeyEvent* event) {
        const auto step = StepOfKey(*event, entry_);
        if (!step) return false;
        commitData(editor);
        closeEditor(editor, QAbstractItemDelegate::NoHint);
        MoveCurrent(*step);
        event->accept();
        return true;
    }
    // A click into the open editor places the caret: the entry becomes an edit.
    void EditorClicked() { entry_ = false; }

    PressHook pressHook;
    std::function<bool(QKeyEvent*)> keyHook;
    std::function<void()> geometryHook;

    // Moves the current cell one step; answers false at the grid's edge.
    bool MoveCurrent(CursorAction action) {
        const QModelIndex from = currentIndex();
        const QModelIndex to = moveCursor(action, Qt::NoModifier);
        if (!to.isValid() || to == from) return false;
        selectionModel()->setCurrentIndex(to, QItemSelectionModel::ClearAndSelect);
        return true;
    }

    bool focusNextPrevChild(bool next) override {
        // Tab inside the grid moves between cells until the last (or first) column, then
        // lets the focus move on, so the keyboard can still leave the grid.
        if (state() != EditingState && currentIndex().isValid() &&
            MoveCurrent(next ? MoveRight : MoveLeft))
            return true;
        return QWidget::focusNextPrevChild(next);
    }

protected:
    // Typing replaces the cell's text and starts an entry; F2 and a double-click keep the
    // text, with the caret at its end, and start an edit.
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override {
        const bool wasEditing = state() == EditingState;
        if (!QTableView::edit(index, trigger, event)) return false;
        if (wasEditing) return true;
        entry_ = trigger == AnyKeyPressed;
        if (QLineEdit* editor = OpenEditor(); editor && !entry_) {
            editor->deselect();
            editor->end(false);
        }
        return true;
    }

    void keyPressEvent(QKeyEvent* event) override {
        if (keyHook && keyHook(event)) return;
        QTableView::keyPressEvent(event);
    }
    void mousePressEvent(QMouseEvent* event) override {
        QTableView::mousePressEvent(event);
        if (pressHook) pressHook(viewport(), event);
    }
    void mouseDoubleClickEvent(QMouseEvent* event) override {
        QTableView::mouseDoubleClickEvent(event);
        if (pressHook) pressHook(viewport(), event);
    }
    void updateGeometries() override {
        QTableView::updateGeometries();
        if (geometryHook) geometryHook();
    }

private:
    // Where a key pressed in the open editor moves the current cell once the text is kept, or
    // nothing for a key the editor keeps. Enter, Tab and the vertical arrows always move on;
    // Left and Right do so in an entry only, and move the caret in an edit.
    static std::optional<CursorAction> StepOfKey(const QKeyEvent& key, bool entry) {
        const Qt::KeyboardModifiers mods = key.modifiers() & ~Qt::KeypadModifier;
        const bool shift = mods == Qt::ShiftModifier;
        const bool plain = mods == Qt::NoModifier;
        switch (key.key()) {
            case Qt::Key_Return:
            case Qt::Key_Enter:
                return shift ? MoveUp : MoveDown;
            case Qt::Key_Tab:
                return shift ? MoveLeft : MoveRight;
            case Qt::Key_Backtab:
                return MoveLeft;
            case Qt::Key_Up:
                if (plain) return MoveUp;
                break;
            case Qt::Key_Down:
                if (plain) return MoveDown;
                break;
            case Qt::Key_Left:
                if (plain && entry) return MoveLeft;
                break;
            case Qt::Key_Right:
                if (plain && entry) return MoveRight;
                break;
            default:
                break;
        }
        return std::nullopt;
    }

    bool entry_ = false;  // the open editor was started by typing
};

// Reports presses on a helper widget of the view (the corner button over the headings).
class PressFilter : public QObject {
public:
    PressFilter(QObject* parent, PressHook hook) : QObject(parent), hook_(std::move(hook)) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonPress ||
            event->type() == QEvent::MouseButtonDblClick)
            hook_(static_cast<QWidget*>(watched), static_cast<QMouseEvent*>(event));
        return false;
    }

private:
    PressHook hook_;
};

}  // namespace

struct GridWidget::Parts {
    GridWidget* self = nullptr;
    GridModel model;
    QUndoStack undo;
    GridView* view = nullptr;
    GridHeader* columnHeadings = nullptr;  // the view's horizontal header shows row 0
    GridHeader* rowHeadings = nullptr;     // the view's vertical header shows column 0
    std::map<int, int> rowHeights;         // data rows whose height differs from the default
    bool followingScroll = false;          // the model's top row is being set from the view
    bool topRowPending = false;            // the model's top row still has to reach the view
    bool syncingSizes = false;             // sizes are flowing from the model to the view
    PasteRules pasteRules;                 // the owner's say over pastes

    void ReportPress(QWidget* source, QMouseEvent* event);
    bool HandleKey(QKeyEvent* event);
    void Commit(const QModelIndex& index, const QString& text);
    void ApplyColumnWidth(int col, int width);
    void ApplyRowHeight(int row, int height);
    void SyncColumnWidths();
    void SyncRowHeights(int firstViewRow, int lastViewRow);
    void ApplyTopRow();
    void FollowScroll();
};

// Positions are reported from the top-left corner of the heading areas, so that a press on
// the first data cell lies right of Column(0).Width and below RowHeight(0).
void GridWidget::Parts::ReportPress(QWidget* source, QMouseEvent* event) {
    if (!model.Enabled()) return;
    const QPointF inView = source->mapTo(view, event->position());
    const QPoint cells = view->viewport()->geometry().topLeft();
    const int headingWidth = rowHeadings->isHidden() ? 0 : rowHeadings->width();
    const int headingHeight = columnHeadings->isHidden() ? 0 : columnHeadings->height();
    emit self->MouseDown(event->button(), event->modifiers(),
                         inView - QPointF(cells.x() - headingWidth, cells.y() - headingHeight));
}

bool GridWidget::Parts::HandleKey(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        self->Selection().Copy();
    } else if (event->matches(QKeySequence::Cut)) {
        self->Selection().Cut();
    } else if (event->matches(QKeySequence::Paste)) {
        self->Selection().Paste();
    } else if (event->matches(QKeySequence::Undo)) {
        undo.undo();
    } else if (event->matches(QKeySequence::Redo)) {
        undo.redo();
    } else if (event->key() == Qt::Key_Delete) {
        self->Selection().ClearContents();
    } else if (event->key() == Qt::Key_Backspace && event->modifiers() == Qt::NoModifier) {
        view->StartEmptyEntry();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        view->StepVertically(event->modifiers() & Qt::ShiftModifier);
    } else {
        return false;
    }
    event->accept();
    return true;
}

void GridWidget::Parts::Commit(const QModelIndex& index, const QString& text) {
    const int row = index.row() + 1;
    const int col = index.column() + 1;
    if (model.CellText(row, col) == text) return;
    PushEdit(undo, std::make_unique<CellBlockCommand>(model, QRect(col, row, 1, 1),
                                                      CellBlock::Filled(text.toStdString())));
}

void GridWidget::Parts::ApplyColumnWidth(int col, int width) {
    syncingSizes = true;
    if (col == 0) {
        rowHeadings->SetDepth(width);
        view->Relayout();
    } else if (col - 1 < columnHeadings->count()) {
        if (width > 0) columnHeadings->resizeSection(col - 1, width);
        columnHeadings->setSectionHidden(col - 1, width <= 0);
    }
    syncingSizes = false;
}

void GridWidget::Parts::ApplyRowHeight(int row, int height) {
    syncingSizes = true;
    if (row == 0) {
        columnHeadings->SetDepth(height);
        view->Relayout();
    } else if (row - 1 < rowHeadings->count()) {
        if (height > 0) rowHeadings->resizeSection(row - 1, height);
        rowHeadings->setSectionHidden(row - 1, height <= 0);
    }
    syncingSizes = false;
}

// Columns are few, so they are all read again whenever the view's columns change.
void GridWidget::Parts::SyncColumnWidths() {
    for (int col = 0; col < model.Cols(); ++col)
        ApplyColumnWidth(col, model.ColumnWidth(col));
}

// Rows may be millions; only those known to differ from the default are visited.
void GridWidget::Parts::SyncRowHeights(int firstViewRow, int lastViewRow) {
    ApplyRowHeight(0, model.RowHeight(0));
    auto it = rowHeights.lower_bound(firstViewRow + 1);
    while (it != rowHeights.end() && it->first <= lastViewRow + 1) {
        const int height = model.RowHeight(it->first);
        ApplyRowHeight(it->first, height);
        it = height == GridModel::DefaultRowHeight ? rowHeights.erase(it) : std::next(it);
    }
}

void GridWidget::Parts::ApplyTopRow() {
    const int row = model.TopRow();
    if (row < 1 || row - 1 >= view->model()->rowCount()) return;  // rows not shown yet
    const QModelIndex index = view->model()->index(row - 1, std::max(0, view->columnAt(0)));
    followingScroll = true;
    view->scrollTo(index, QAbstractItemView::PositionAtTop);
    followingScroll = false;
    // A view that has not been laid out yet scrolls again once it has its size; near the
    // end of the grid the view stops at its last page.
    const QScrollBar* bar = view->verticalScrollBar();
    if (view->isVisible() && (view->rowAt(0) == row - 1 || bar->value() == bar->maximum()))
        topRowPending = false;
}

void GridWidget::Parts::FollowScroll() {
    if (followingScroll || topRowPending) return;
    const int first = view->rowAt(0);
    if (first < 0) return;
    followingScroll = true;
    model.SetTopRow(first + 1);
    followingScroll = false;
}

GridWidget::GridWidget(QWidget* parent) : QWidget(parent), p_(std::make_unique<Parts>()) {
    Parts& p = *p_;
    p.self = this;
    p.view = new GridView(this);
    GridView& view = *p.view;
    p.columnHeadings = new GridHeader(Qt::Horizontal, &view);
    p.rowHeadings = new GridHeader(Qt::Vertical, &view);
    view.setHorizontalHeader(p.columnHeadings);
    view.setVerticalHeader(p.rowHeadings);
    view.setModel(&p.model);

    auto* delegate = new GridDelegate(&view);
    delegate->commit = [this](const QModelIndex& index, const QString& text) {
        p_->Commit(index, text);
    };
    delegate->editorKey = [&view](QLineEdit* editor, QKeyEvent* event) {
        return view.EditorKey(editor, event);
    };
    delegate->editorClick = [&view] { view.EditorClicked(); };
    view.setItemDelegate(delegate);

    for (GridHeader* header : {p.columnHeadings, p.rowHeadings}) {
        header->setSectionsClickable(true);
        header->setHighlightSections(true);
        header->setSectionResizeMode(QHeaderView::Interactive);
        header->setMinimumSectionSize(4);
        header->setContextMenuPolicy(Qt::PreventContextMenu);
    }
    p.columnHeadings->setDefaultSectionSize(GridModel::DefaultColumnWidth);
    p.rowHeadings->setDefaultSectionSize(GridModel::DefaultRowHeight);
    p.rowHeadings->setDefaultAlignment(Qt::AlignCenter);

    view.setSelectionMode(QAbstractItemView::ExtendedSelection);
    view.setSelectionBehavior(QAbstractItemView::SelectItems);
    view.setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                         QAbstractItemView::AnyKeyPressed);
    view.setWordWrap(false);
    view.setTabKeyNavigation(true);
    view.setContextMenuPolicy(Qt::PreventContextMenu);
    setContextMenuPolicy(Qt::PreventContextMenu);
    setFocusProxy(&view);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(&view);

    const PressHook press = [this](QWidget* source, QMouseEvent* event) {
        p_->ReportPress(source, event);
    };
    view.pressHook = press;
    p.columnHeadings->pressHook = press;
    p.rowHeadings->pressHook = press;
    if (auto* corner = view.findChild<QAbstractButton*>())
        corner->installEventFilter(new PressFilter(corner, press));
    view.keyHook = [this](QKeyEvent* event) { return p_->HandleKey(event); };
    view.geometryHook = [this] {
        if (p_->topRowPending) p_->ApplyTopRow();
    };

    // The view follows the model's sizes; the user's resizing goes back into the model.
    connect(&p.model, &GridModel::ColumnWidthChanged, this,
            [this](int col, int width) { p_->ApplyColumnWidth(col, width); });
    connect(&p.model, &GridModel::RowHeightChanged, this, [this](int row, int height) {
        if (row > 0) {
            if (height == GridModel::DefaultRowHeight)
                p_->rowHeights.erase(row);
            else
                p_->rowHeights[row] = height;
        }
        p_->ApplyRowHeight(row, height);
    });
    connect(p.columnHeadings, &QHeaderView::sectionResized, this,
            [this](int section, int, int size) {
                if (!p_->syncingSizes) p_->model.SetColumnWidth(section + 1, size);
            });
    connect(p.rowHeadings, &QHeaderView::sectionResized, this, [this](int section, int, int size) {
        if (!p_->syncingSizes) p_->model.SetRowHeight(section + 1, size);
    });
    connect(&p.model, &QAbstractItemModel::modelReset, this, [this] {
        p_->SyncColumnWidths();
        p_->SyncRowHeights(0, p_->model.Rows());
        p_->undo.clear();
    });
    connect(&p.model, &QAbstractItemModel::columnsInserted, this,
            [this] { p_->SyncColumnWidths(); });
    connect(&p.model, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex&, int first, int last) {
                p_->SyncRowHeights(first, last);
                if (p_->topRowPending) p_->ApplyTopRow();
            });

    // The history of edits refers to cells that shrinking the grid drops: it starts afresh.
    connect(&p.model, &QAbstractItemModel::rowsRemoved, this, [this] { p_->undo.clear(); });
    connect(&p.model, &QAbstractItemModel::columnsRemoved, this, [this] { p_->undo.clear(); });

    connect(&p.model, &GridModel::TopRowChanged, this, [this] {
        if (p_->followingScroll) return;
        p_->topRowPending = true;
        p_->ApplyTopRow();
    });
    connect(view.verticalScrollBar(), &QScrollBar::valueChanged, this,
            [this] { p_->FollowScroll(); });
    connect(&p.model, &GridModel::EnabledChanged, this, [this](bool on) { setEnabled(on); });

    p.SyncColumnWidths();
    p.SyncRowHeights(0, p.model.Rows());
    setEnabled(p.model.Enabled());
    if (p.model.TopRow() > 1) {
        p.topRowPending = true;
        p.ApplyTopRow();
    }
}

// The view goes before the model it shows, which p_ holds.
GridWidget::~GridWidget() {
    delete p_->view;
}

GridModel& GridWidget::Model() {
    return p_->model;
}
const GridModel& GridWidget::Model() const {
    return p_->model;
}
QTableView& GridWidget::View() {
    return *p_->view;
}
QUndoStack& GridWidget::UndoStack() {
    return p_->undo;
}

void GridWidget::CommitEdit() {
    p_->view->CommitEdit();
}

// Every selected range, or the current cell when nothing is selected. The cells a paste
// writes become the selection, with the current cell at their top-left.
GridSelection GridWidget::Selection() {
    CommitEdit();
    QList<QRect> ranges;
    for (const QItemSelectionRange& range : p_->view->selectionModel()->selection())
        ranges.append(QRect(range.left() + 1, range.top() + 1, range.width(), range.height()));
    if (ranges.isEmpty()) {
        if (const QModelIndex current = p_->view->currentIndex(); current.isValid())
            ranges.append(QRect(current.column() + 1, current.row() + 1, 1, 1));
    }
    return GridSelection(
        p_->model, std::move(ranges), &p_->undo,
        [this](QRect cells) {
            if (cells.isEmpty()) return;
            QAbstractItemModel* shown = p_->view->model();
            const QModelIndex first = shown->index(cells.top() - 1, cells.left() - 1);
            const QModelIndex last = shown->index(cells.bottom() - 1, cells.right() - 1);
            QItemSelectionModel* selection = p_->view->selectionModel();
            selection->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
            selection->select(QItemSelection(first, last), QItemSelectionModel::ClearAndSelect);
        },
        p_->pasteRules);
}

void GridWidget::SetPasteRules(PasteRules rules) {
    p_->pasteRules = std::move(rules);
}

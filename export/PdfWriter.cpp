#include "PdfWriter.h"

// cairo draws the pages and writes the PDF (content streams compressed, fonts embedded as
// subsets with their character maps); Pango lays out texts that need shaping or a font
// other than DejaVu Sans. Both come before any Qt header: Qt's keyword macros clash with
// names in GLib's headers.
//
// Why cairo: written out on a 3,000,000-cell sheet (9,600 pages), libharu was no faster than
// cairo and has no fallback fonts for other scripts and writes a ToUnicode map that poppler
// rejects as malformed; PoDoFo took over ten times as long; Qt's own PDF engine three to four
// times as long, with a position for every glyph.
#include <cairo-ft.h>
#include <cairo-pdf.h>
#include <cairo.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_TRUETYPE_TABLES_H
#include <pango/pangocairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <condition_variable>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "NumberShape.h"
#include "Utf8.h"

namespace Pdf {

namespace {

// Page geometry in points (1/72 inch): A4 landscape with 12 mm margins.
constexpr double kPageWidth = 841.8898;   // 297 mm
constexpr double kPageHeight = 595.2756;  // 210 mm
constexpr double kMargin = 34.0157;       // 12 mm
constexpr double kPointSize = 8;
constexpr const char* kDash = "\u2013";  // EN DASH, in UTF-8

template <class T, void (*Free)(T*)>
struct Deleter {
    void operator()(T* p) const { Free(p); }
};
template <class T, void (*Free)(T*)>
using Owned = std::unique_ptr<T, Deleter<T, Free>>;

void FreeObject(PangoLayout* layout) {
    g_object_unref(layout);
}
void FreeFont(PangoFont* font) {
    g_object_unref(font);
}
void FreeFontMap(PangoFontMap* map) {
    g_object_unref(map);
}

cairo_status_t WriteBytes(void* closure, const unsigned char* data, unsigned int length) {
    const auto& sink = *static_cast<const Export::Sink*>(closure);
    return sink(std::string_view(reinterpret_cast<const char*>(data), length))
               ? CAIRO_STATUS_SUCCESS
               : CAIRO_STATUS_WRITE_ERROR;
}

// The text as Pango may hand it to cairo: cairo refuses the whole document over a text that
// is not well-formed UTF-8 or holds NUL or a noncharacter (U+FDD0 to U+FDEF, the last two
// codes of every plane), so each of those shows as U+FFFD. Answers text itself when it has
// none of them, else `copy` holding the mended text.
std::string_view CairoText(std::string_view text, std::string& copy) {
    auto refused = [](char32_t c) {
        return c == 0 || (c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFE) == 0xFFFE;
    };
    std::size_t at = 0, length = 0;
    for (; at < text.size(); at += length) {
        const char32_t c = Utf8::Decode(text, at, length);
        if (refused(c) || (c == 0xFFFD && text.substr(at, 3) != "\uFFFD")) break;
    }
    if (at == text.size()) return text;
    copy.assign(text.substr(0, at));
    for (; at < text.size(); at += length) {
        const char32_t c = Utf8::Decode(text, at, length);
        Utf8::Append(copy, refused(c) ? U'\uFFFD' : c);
    }
    return copy;
}

// The rows and columns one page holds.
struct Page {
    int firstRow, lastRow, firstCol, lastCol;
};

// A text that needs Pango: shaped, in a font other than DejaVu Sans, or too wide for its cell.
struct ShapedText {
    double x, baseline;
    std::string_view text;
    double room;
};

// What a page's cells show: the plain texts as one run of glyphs, and the shaped ones.
struct PageText {
    std::vector<cairo_glyph_t> glyphs;
    std::vector<ShapedText> shaped;
};

// Works out the pages' texts, in order, on a thread of its own a few pages ahead of the
// drawing: cairo's work on a page takes most of the time, on the calling thread, and the
// lookups, measuring and placing of a page's texts run beside it.
class PageQueue {
public:
    using Fill = std::function<void(const Page&, PageText&)>;

    PageQueue(const std::vector<Page>& pages, Fill fill) : pages_(pages), fill_(std::move(fill)) {
        try {
            thread_ = std::thread([this] { Work(); });
        } catch (const std::system_error&) {
            // No thread to be had: each page is worked out when it is asked for.
        }
    }

    ~PageQueue() {
        if (!thread_.joinable()) return;
        {
            std::lock_guard lock(mutex_);
            stop_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

    // The next page's text, once it is worked out. Rethrows what stopped the work.
    const PageText& Next() {
        if (!thread_.joinable()) {
            PageText& slot = slots_[0];
            slot.glyphs.clear();
            slot.shaped.clear();
            fill_(pages_[taken_], slot);
            return slot;
        }
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return filled_ > taken_ || failure_; });
        if (filled_ == taken_) std::rethrow_exception(failure_);
        return slots_[taken_ % kAhead];
    }

    // The page from Next() is drawn: its slot may take a later page.
    void Done() {
        bool wake;
        {
            std::lock_guard lock(mutex_);
            ++taken_;
            wake = waiting_ && filled_ - taken_ <= kAhead / 2;
        }
        if (wake) changed_.notify_all();
    }

private:
    static constexpr std::size_t kAhead = 8;

    void Work() {
        try {
            for (std::size_t page = 0; page < pages_.size(); ++page) {
                {
                    // Sleeps until half the slots are free, to be woken once per few pages.
                    std::unique_lock lock(mutex_);
                    if (page - taken_ == kAhead) {
                        waiting_ = true;
                        changed_.wait(lock, [&] { return stop_ || page - taken_ <= kAhead / 2; });
                        waiting_ = false;
                    }
                    if (stop_) return;
                }
                PageText& slot = slots_[page % kAhead];
                slot.glyphs.clear();
                slot.shaped.clear();
                fill_(pages_[page], slot);
                {
                    std::lock_guard lock(mutex_);
                    ++filled_;
                }
                changed_.notify_all();
            }
        } catch (...) {
            {
                std::lock_guard lock(mutex_);
                failure_ = std::current_exception();
            }
            changed_.notify_all();
        }
    }

    const std::vector<Page>& pages_;
    Fill fill_;
    std::array<PageText, kAhead> slots_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t filled_ = 0;  // pages worked out so far
    std::size_t taken_ = 0;   // pages drawn so far
    bool waiting_ = false;    // the worker sleeps for free slots
    bool stop_ = false;
    std::exception_ptr failure_;
    std::thread thread_;
};

class Writer {
public:
    Writer(const Export::CellSource& cells, char separator, cairo_t* cr)
        : cells_(cells), rows_(cells.Rows()), cols_(cells.Cols()), separator_(separator), cr_(cr) {}

    bool Draw() {
        if (!Prepare()) return false;
        MeasureColumns();
        const int rowsPerPage =
            std::max(1, static_cast<int>((height_ - captionHeight_) / rowHeight_));

        // Bands of columns that fit across a page.
        std::vector<std::pair<int, int>> bands;
        for (int first = 0; first < cols_;) {
            int last = first;
            double width = widths_[std::size_t(first)];
            while (last + 1 < cols_ && width + widths_[std::size_t(last) + 1] <= width_)
                width += widths_[std::size_t(++last)];
            bands.emplace_back(first, last);
            first = last + 1;
        }
        std::vector<Page> pages;
        for (const auto& [firstCol, lastCol] : bands) {
            for (int firstRow = 0; firstRow < rows_; firstRow += rowsPerPage) {
                const int lastRow = std::min(rows_, firstRow + rowsPerPage) - 1;
                pages.push_back(Page{firstRow, lastRow, firstCol, lastCol});
            }
        }
        if (pages.empty()) {  // an empty table: one empty page
            cairo_show_page(cr_);
            return cairo_status(cr_) == CAIRO_STATUS_SUCCESS;
        }
        PageQueue queue(pages,
                        [this](const Page& page, PageText& text) { PlaceTexts(page, text); });
        for (const Page& page : pages) {
            DrawPage(page, queue.Next());
            queue.Done();
            cairo_show_page(cr_);
            if (cairo_status(cr_) != CAIRO_STATUS_SUCCESS) return false;
        }
        return true;
    }

private:
    bool Prepare() {
        cairo_translate(cr_, kMargin, kMargin);
        // A font map of this export's own, released with it (the shared default one would
        // stay for the life of the process).
        fontMap_.reset(pango_cairo_font_map_new());
        PangoContext* context = pango_font_map_create_context(fontMap_.get());
        pango_cairo_update_context(cr_, context);
        layout_.reset(pango_layout_new(context));
        g_object_unref(context);
        PangoFontDescription* description = pango_font_description_from_string("DejaVu Sans");
        pango_font_description_set_absolute_size(description, kPointSize * PANGO_SCALE);
        pango_layout_set_font_description(layout_.get(), description);
        font_.reset(pango_context_load_font(pango_layout_get_context(layout_.get()), description));
        pango_font_description_free(description);
        if (!font_ || !PANGO_IS_CAIRO_FONT(font_.get())) return false;
        scaledFont_ = pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(font_.get()));
        if (!scaledFont_ || cairo_scaled_font_status(scaledFont_) != CAIRO_STATUS_SUCCESS)
            return false;

        // The font's own line metrics: ascent and descent from its horizontal header, the
        // average character width from its OS/2 table.
        double averageWidth = kPointSize * 0.5;
        if (FT_Face face = cairo_ft_scaled_font_lock_face(scaledFont_)) {
            const double perUnit = kPointSize / face->units_per_EM;
            ascent_ = face->ascender * perUnit;
            descent_ = -face->descender * perUnit;
            if (const auto* os2 = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2)))
                averageWidth = os2->xAvgCharWidth * perUnit;
            cairo_ft_scaled_font_unlock_face(scaledFont_);
        } else {
            cairo_font_extents_t extents;
            cairo_scaled_font_extents(scaledFont_, &extents);
            ascent_ = extents.ascent;
            descent_ = extents.descent;
        }
        // Sizes are rounded as on a 720-dpi device, where the table was first laid out.
        width_ = std::floor((kPageWidth - 2 * kMargin) * 10) / 10;
        height_ = std::floor((kPageHeight - 2 * kMargin) * 10) / 10;
        averageWidth_ = averageWidth;
        padding_ = averageWidth * 0.6;
        rowHeight_ = std::ceil((ascent_ + descent_) * 13.5) / 10;
        captionHeight_ = rowHeight_ * 1.5;

        // Glyphs and advances of printable ASCII, for texts drawn without layout.
        std::string ascii;
        for (char c = 0x20; c < 0x7F; ++c)
            ascii += c;
        cairo_glyph_t* glyphs = nullptr;
        int count = 0;
        if (cairo_scaled_font_text_to_glyphs(scaledFont_, 0, 0, ascii.data(), int(ascii.size()),
                                             &glyphs, &count, nullptr, nullptr,
                                             nullptr) == CAIRO_STATUS_SUCCESS &&
            count == int(ascii.size())) {
            for (int i = 0; i < count; ++i) {
                cairo_text_extents_t extents;
                cairo_scaled_font_glyph_extents(scaledFont_, &glyphs[i], 1, &extents);
                glyphs_[std::size_t(0x20 + i)] = glyphs[i].index;
                advances_[std::size_t(0x20 + i)] = extents.x_advance;
            }
        }
        cairo_glyph_free(glyphs);
        glyphs = nullptr;
        // The dash of the page captions.
        if (cairo_scaled_font_text_to_glyphs(scaledFont_, 0, 0, kDash, -1, &glyphs, &count, nullptr,
                                             nullptr, nullptr) == CAIRO_STATUS_SUCCESS &&
            count == 1 && glyphs[0].index != 0) {
            cairo_text_extents_t extents;
            cairo_scaled_font_glyph_extents(scaledFont_, glyphs, 1, &extents);
            dash_ = glyphs[0].index;
            dashAdvance_ = extents.x_advance;
        }
        cairo_glyph_free(glyphs);
        return true;
    }

    // The width of a text drawn from the glyph table, or a negative number when the text
    // needs layout.
    double FastWidth(std::string_view text) const {
        double width = 0;
        for (const char ch : text) {
            const auto c = static_cast<unsigned char>(ch);
            if (c < 0x20 || c >= 0x7F || (glyphs_[c] == 0 && c != ' ')) return -1;
            width += advances_[c];
        }
        return width;
    }

    double LayoutWidth(std::string_view text) {
        pango_layout_set_width(layout_.get(), -1);
        SetLayoutText(text);
        PangoRectangle logical;
        pango_layout_get_extents(layout_.get(), nullptr, &logical);
        return double(logical.width) / PANGO_SCALE;
    }

    // Each column is as wide as its widest text, within the width of a page.
    void MeasureColumns() {
        const double minimum = averageWidth_ * 4 + 2 * padding_;
        widths_.assign(std::size_t(cols_), minimum);
        for (int r = 0; r < rows_; ++r) {
            for (int c = 0; c < cols_; ++c) {
                const std::string_view text = cells_.Text(r, c);
                if (text.empty()) continue;
                double width = FastWidth(text);
                if (width < 0) width = LayoutWidth(text);
                double& column = widths_[std::size_t(c)];
                column = std::max(column, std::min(width_, width + 2 * padding_));
            }
        }
    }

    void SetLayoutText(std::string_view text) {
        text = CairoText(text, mended_);
        pango_layout_set_text(layout_.get(), text.data(), int(text.size()));
    }

    // A text laid out by Pango with its baseline at (x, baseline), cut short with an
    // ellipsis when wider than `room` (room < 0: never).
    void ShowLayout(double x, double baseline, std::string_view text, double room) {
        SetLayoutText(text);
        pango_layout_set_width(layout_.get(), room < 0 ? -1 : int(room * PANGO_SCALE));
        pango_layout_set_ellipsize(layout_.get(),
                                   room < 0 ? PANGO_ELLIPSIZE_NONE : PANGO_ELLIPSIZE_END);
        const double top =
            baseline - double(pango_layout_get_baseline(layout_.get())) / PANGO_SCALE;
        cairo_move_to(cr_, x, top);
        pango_cairo_show_layout(cr_, layout_.get());
    }

    // The grid lines of a page: recorded once for each shape of page (its band of columns
    // and its number of rows) and painted on every page of that shape, so that the PDF holds
    // them once as a form instead of drawing them anew on thousands of pages.
    cairo_pattern_t* GridLines(int rows, int firstCol, double right) {
        const auto key = std::pair{rows, firstCol};
        if (const auto found = gridLines_.find(key); found != gridLines_.end())
            return found->second.get();
        const double top = captionHeight_;
        const double bottom = top + rows * rowHeight_;
        const cairo_rectangle_t extents{-1, top - 1, right + 2, bottom - top + 2};
        Owned<cairo_surface_t, cairo_surface_destroy> recording(
            cairo_recording_surface_create(CAIRO_CONTENT_COLOR_ALPHA, &extents));
        {
            Owned<cairo_t, cairo_destroy> cr(cairo_create(recording.get()));
            for (int r = 0; r <= rows; ++r) {
                const double y = top + r * rowHeight_;
                cairo_move_to(cr.get(), 0, y);
                cairo_line_to(cr.get(), right, y);
            }
            for (const double x : lefts_) {
                cairo_move_to(cr.get(), x, top);
                cairo_line_to(cr.get(), x, bottom);
            }
            cairo_move_to(cr.get(), right, top);
            cairo_line_to(cr.get(), right, bottom);
            cairo_set_source_rgb(cr.get(), 176 / 255.0, 176 / 255.0, 176 / 255.0);
            cairo_set_line_width(cr.get(), 0.25);
            cairo_stroke(cr.get());
        }
        Owned<cairo_pattern_t, cairo_pattern_destroy> pattern(
            cairo_pattern_create_for_surface(recording.get()));
        return gridLines_.emplace(key, std::move(pattern)).first->second.get();
    }

    // Adds the glyphs of a text that FastWidth could measure to the run, from x on; answers
    // where the text ends.
    double AppendGlyphs(std::vector<cairo_glyph_t>& run, std::string_view text, double x,
                        double baseline) const {
        for (const char ch : text) {
            const auto code = static_cast<unsigned char>(ch);
            // A space is left as a gap, which is how PDF readers find word breaks.
            if (code != ' ') run.push_back(cairo_glyph_t{glyphs_[code], x, baseline});
            x += advances_[code];
        }
        return x;
    }

    // The line above the table that names the rows and columns of the page. It is drawn
    // from the glyph table like the cells: laying it out anew on each of thousands of pages
    // would cost more than all the grid lines.
    void ShowCaption(const Page& page) {
        const std::string from = "Rows " + std::to_string(page.firstRow + 1);
        const std::string to =
            std::to_string(page.lastRow + 1) + ", columns " + std::to_string(page.firstCol + 1);
        const std::string end = std::to_string(page.lastCol + 1);
        if (dash_ == 0 || FastWidth(from) < 0 || FastWidth(to) < 0 || FastWidth(end) < 0) {
            ShowLayout(0, ascent_, from + kDash + to + kDash + end, -1);
            return;
        }
        run_.clear();
        double x = AppendGlyphs(run_, from, 0, ascent_);
        run_.push_back(cairo_glyph_t{dash_, x, ascent_});
        x = AppendGlyphs(run_, to, x + dashAdvance_, ascent_);
        run_.push_back(cairo_glyph_t{dash_, x, ascent_});
        AppendGlyphs(run_, end, x + dashAdvance_, ascent_);
        cairo_set_scaled_font(cr_, scaledFont_);
        cairo_show_glyphs(cr_, run_.data(), int(run_.size()));
    }

    // Where each column of the band from `firstCol` on starts, and where the band ends.
    void ColumnLefts(const Page& page, std::vector<double>& lefts, double& right) const {
        right = 0;
        lefts.clear();
        for (int c = page.firstCol; c <= page.lastCol; ++c) {
            lefts.push_back(right);
            right += widths_[std::size_t(c)];
        }
    }

    // Places the page's texts; runs on the page queue's thread, so it only reads the table
    // and the measurements made before the pages began.
    void PlaceTexts(const Page& page, PageText& out) const {
        thread_local std::vector<double> lefts;
        double right;
        ColumnLefts(page, lefts, right);
        for (int r = page.firstRow; r <= page.lastRow; ++r) {
            const double baseline = captionHeight_ + (r - page.firstRow) * rowHeight_ +
                                    (rowHeight_ - ascent_ - descent_) / 2 + ascent_;
            for (int c = page.firstCol; c <= page.lastCol; ++c) {
                const std::string_view text = cells_.Text(r, c);
                if (text.empty()) continue;
                const double left = lefts[std::size_t(c - page.firstCol)];
                const double room = widths_[std::size_t(c)] - 2 * padding_;
                const double fast = FastWidth(text);
                if (fast < 0 || fast > room) {
                    // Shaped text; a text wider than a whole page is cut short.
                    out.shaped.push_back(ShapedText{left + padding_, baseline, text, room});
                    continue;
                }
                // Numbers are right-aligned, other texts left-aligned, as in a spreadsheet.
                AppendGlyphs(
                    out.glyphs, text,
                    CellNumber(text, separator_) ? left + padding_ + room - fast : left + padding_,
                    baseline);
            }
        }
    }

    void DrawPage(const Page& page, const PageText& text) {
        double right;
        ColumnLefts(page, lefts_, right);

        cairo_set_source_rgb(cr_, 96 / 255.0, 96 / 255.0, 96 / 255.0);
        ShowCaption(page);

        cairo_set_source(cr_, GridLines(page.lastRow - page.firstRow + 1, page.firstCol, right));
        cairo_paint(cr_);

        // The plain texts of the page go to cairo as one run of glyphs: cairo's work per run
        // is the larger part for a row of numbers.
        cairo_set_source_rgb(cr_, 0, 0, 0);
        for (const ShapedText& shaped : text.shaped)
            ShowLayout(shaped.x, shaped.baseline, shaped.text, shaped.room);
        if (!text.glyphs.empty()) {
            cairo_set_scaled_font(cr_, scaledFont_);
            cairo_show_glyphs(cr_, text.glyphs.data(), int(text.glyphs.size()));
        }
    }

    const Export::CellSource& cells_;
    const int rows_;
    const int cols_;
    char separator_;
    cairo_t* cr_;
    Owned<PangoFontMap, FreeFontMap> fontMap_;  // declared first: released last
    Owned<PangoLayout, FreeObject> layout_;
    Owned<PangoFont, FreeFont> font_;
    cairo_scaled_font_t* scaledFont_ = nullptr;  // owned by font_
    std::array<unsigned long, 128> glyphs_{};
    std::array<double, 128> advances_{};
    unsigned long dash_ = 0;  // 0: the font has no dash
    double dashAdvance_ = 0;
    std::vector<double> widths_;
    std::vector<double> lefts_;
    std::vector<cairo_glyph_t> run_;  // the caption's glyphs
    std::string mended_;              // a text mended for cairo (CairoText)
    std::map<std::pair<int, int>, Owned<cairo_pattern_t, cairo_pattern_destroy>> gridLines_;
    double width_ = 0, height_ = 0;
    double ascent_ = 0, descent_ = 0;
    double averageWidth_ = 0, padding_ = 0;
    double rowHeight_ = 1, captionHeight_ = 0;
};

}  // namespace

bool WriteTable(const Export::CellSource& cells, char decimalSeparator, const Export::Sink& sink) {
    Owned<cairo_surface_t, cairo_surface_destroy> surface(cairo_pdf_surface_create_for_stream(
        WriteBytes, const_cast<Export::Sink*>(&sink), kPageWidth, kPageHeight));
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_TITLE, "Kelvara results");
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATOR, "Kelvara");
    bool ok;
    {
        Owned<cairo_t, cairo_destroy> cr(cairo_create(surface.get()));
        ok = Writer(cells, decimalSeparator, cr.get()).Draw();
    }
    cairo_surface_finish(surface.get());
    return ok && cairo_surface_status(surface.get()) == CAIRO_STATUS_SUCCESS;
}

}  // namespace Pdf

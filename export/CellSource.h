#pragma once
// What every file writer reads and where it writes: the cells of a table, and a sink that
// takes the file's bytes in order.

#include <functional>
#include <string_view>

namespace Export {

// The cells to write: Rows() x Cols() texts in UTF-8, (0, 0) being the top-left cell. The
// texts stay valid and unchanged while a writer runs, and Text may be called from a thread
// of the writer's own (the PDF writer places a page's texts on one while it draws the page
// before), so it reads and changes nothing that another thread could be using.
class CellSource {
public:
    virtual ~CellSource() = default;
    virtual int Rows() const = 0;
    virtual int Cols() const = 0;
    virtual std::string_view Text(int row, int col) const = 0;
};

// Receives a file's bytes in order; answers false when they could not be written.
using Sink = std::function<bool(std::string_view bytes)>;

}  // namespace Export

#pragma once
// Writing the result sheet to a file: the used range of its cells (data rows and columns up
// to the last non-empty cell, headings excluded) in one of the five export formats.

#include <QString>

#include "FileFormats.h"

class GridModel;

namespace ResultExport {

// Writes through QSaveFile, so that a failed export never leaves a part-written file nor
// replaces the one that was there; answers true only when the whole file was written. The
// path is used exactly as given. A target that exists and is no ordinary file (a folder, a
// device, a pipe or a socket) is left alone and answers false.
bool WriteFile(const GridModel& sheet, Export::Format format, char decimalSeparator,
               const QString& path);

}  // namespace ResultExport

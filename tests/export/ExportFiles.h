#pragma once
// What the export tests share: a fresh folder, a table of texts as a cell source, writing a
// format into a file, and running the programs that read the files back.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FileFormats.h"

using Table = std::vector<std::vector<std::string>>;

// The cells of a table given row by row; all rows are as long as the first.
class TableSource : public Export::CellSource {
public:
    explicit TableSource(Table table) : table_(std::move(table)) {}
    int Rows() const override { return int(table_.size()); }
    int Cols() const override { return table_.empty() ? 0 : int(table_[0].size()); }
    std::string_view Text(int row, int col) const override { return table_[row][col]; }

private:
    Table table_;
};

// A folder of its own, removed with everything in it at the end.
class TempFolder {
public:
    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "kelvara-XXXXXX").string();
        path_ = mkdtemp(name.data()) != nullptr ? name : "";
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string Path(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

inline bool WriteFile(Export::Format format, const Export::CellSource& cells,
                      const std::string& path, char decimalSeparator = '.') {
    std::ofstream file(path, std::ios::binary);
    auto sink = [&file](std::string_view b) { return bool(file.write(b.data(), std::ssize(b))); };
    return Export::Write(format, cells, decimalSeparator, sink) && bool(file.flush());
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Runs a program (looked up in PATH) and answers what it printed; a failure of the test when
// it did not end with success. (No argument holds a single quote.)
inline std::string RunProgram(const std::vector<std::string>& args) {
    std::string command;
    for (const std::string& arg : args)
        command += " '" + arg + "'";
    FILE* pipe = popen(command.c_str(), "r");
    std::string out;
    char buffer[1 << 16];
    for (std::size_t n; pipe != nullptr && (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        out.append(buffer, n);
    if (pipe == nullptr || pclose(pipe) != 0) ADD_FAILURE() << command << " failed";
    return out;
}

// What read-back.py prints for a file (see there).
inline std::string ReadBack(std::vector<std::string> args) {
    args.insert(args.begin(), {"/usr/bin/python3", KELVARA_EXPORT_TEST_DIR "/read-back.py"});
    return RunProgram(args);
}

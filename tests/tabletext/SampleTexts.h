#pragma once
// Sample texts with the cells each must give, read from a JSON file under samples/: an
// object of families, each a list of {"name", "text": [lines], "cells": [[...]]} (and a
// "source" that says where the text came from). A text is stored as its lines, joined
// by line feeds when read. A text that must be refused has no cells and a "refused" word
// that the sentence saying why holds; "separator" is the user's decimal separator (".").

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "TextTable.h"

namespace {

struct SampleText {
    std::string name;
    std::string text;
    std::vector<std::vector<std::string>> cells;
    std::string refused;
    char separator = '.';
};

// The samples of one family; a single sample that cannot pass when the file is unreadable.
std::vector<SampleText> SampleTexts(const char* file, const char* family) {
    std::ifstream in(std::string(KELVARA_TABLETEXT_TEST_DIR "/samples/") + file);
    const nlohmann::json json = nlohmann::json::parse(in, nullptr, false);
    std::vector<SampleText> samples;
    if (json.is_object() && json.contains(family)) {
        for (const nlohmann::json& entry : json[family]) {
            std::string text;
            for (std::size_t i = 0; i < entry["text"].size(); ++i)
                text += (i > 0 ? "\n" : "") + entry["text"][i].get<std::string>();
            samples.push_back({entry["name"].get<std::string>(), text,
                               entry["cells"].get<std::vector<std::vector<std::string>>>(),
                               entry.value("refused", ""), entry.value("separator", ".")[0]});
        }
    }
    if (samples.empty())
        samples.push_back({"unreadable_samples", "1 2", {{"no samples"}}, "", '.'});
    return samples;
}

// A table refused with a sentence that holds the word, or not refused when it is empty.
inline void ExpectRefusal(const TextTable& table, const std::string& word) {
    EXPECT_EQ(table.IsRefused(), !word.empty()) << table.Refusal();
    EXPECT_NE(table.Refusal().find(word), std::string::npos) << table.Refusal();
}

}  // namespace

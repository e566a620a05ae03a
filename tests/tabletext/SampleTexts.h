#pragma once
// Sample texts with the cells each must give, read from a JSON file under samples/: an
// object of families, each a list of {"name", "text": [lines], "cells": [[...]]} (and a
// "source" that says where the text came from). A text is stored as its lines, joined
// by line feeds when read.

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

struct SampleText {
    std::string name;
    std::string text;
    std::vector<std::vector<std::string>> cells;
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
                               entry["cells"].get<std::vector<std::vector<std::string>>>()});
        }
    }
    if (samples.empty()) samples.push_back({"unreadable_samples", "1 2", {{"no samples"}}});
    return samples;
}

}  // namespace

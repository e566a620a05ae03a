#pragma once
// Sample texts with the cells each must give, read from a JSON file under samples/: an
// object of families, each a list of {"name", "text": [lines], "cells": [[...]]} (and a
// "source" that says where the text came from). A text is stored as its lines, joined
// by line feeds when read.

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>
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
    QFile in(QStringLiteral(KELVARA_GRID_TEST_DIR "/samples/") + QLatin1String(file));
    const QJsonDocument json =
        QJsonDocument::fromJson(in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray());
    std::vector<SampleText> samples;
    for (const QJsonValue& entry : json[QLatin1String(family)].toArray()) {
        QStringList lines;
        for (const QJsonValue& line : entry[QLatin1String("text")].toArray())
            lines << line.toString();
        SampleText& sample = samples.emplace_back(
            entry[QLatin1String("name")].toString().toStdString(), lines.join('\n').toStdString());
        for (const QJsonValue& row : entry[QLatin1String("cells")].toArray()) {
            sample.cells.emplace_back();
            for (const QJsonValue& cell : row.toArray())
                sample.cells.back().push_back(cell.toString().toStdString());
        }
    }
    if (samples.empty()) samples.push_back({"unreadable_samples", "1 2", {{"no samples"}}});
    return samples;
}

}  // namespace

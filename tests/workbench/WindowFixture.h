#pragma once
// A main window over the recording platform, with helpers that act as the user would:
// typing into the boxes key by key, and filling an operand's grid.

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLineEdit>
#include <QTest>
#include <initializer_list>
#include <memory>
#include <vector>

#include "GridWidget.h"
#include "RecordingPlatform.h"
#include "frmMatrix.h"

class WindowTest : public ::testing::Test {
protected:
    void SetUp() override { window = std::make_unique<frmMatrix>(platform); }

    // Replaces the box's text by typing, one key after the other.
    static void Type(QLineEdit* box, const QString& text) {
        box->selectAll();
        QTest::keyClicks(box, text);
    }

    // Sets an operand's size through its boxes and writes its entries into its grid.
    void Fill(QLineEdit* rows, QLineEdit* cols, GridWidget* grid, int r,
              std::initializer_list<const char*> entries) {
        const int c = static_cast<int>(entries.size()) / r;
        Type(rows, QString::number(r));
        Type(cols, QString::number(c));
        int k = 0;
        for (const char* e : entries) {
            grid->SetCellText(1 + k / c, 1 + k % c, QString::fromUtf8(e));
            ++k;
        }
    }
    void FillA(int r, std::initializer_list<const char*> entries) {
        Fill(window->Text1, window->Text2, window->Grid1, r, entries);
    }
    void FillB(int r, std::initializer_list<const char*> entries) {
        Fill(window->Text3, window->Text4, window->Grid2, r, entries);
    }

    // The texts of one row of the result sheet, columns 1 to its last non-empty cell.
    std::vector<QString> SheetRow(int row) const {
        std::vector<QString> texts;
        for (int col = 1; col < window->Grid3->Cols(); ++col)
            texts.push_back(window->Grid3->CellText(row, col));
        while (!texts.empty() && texts.back().isEmpty())
            texts.pop_back();
        return texts;
    }

    RecordingPlatform platform;
    std::unique_ptr<frmMatrix> window;
};

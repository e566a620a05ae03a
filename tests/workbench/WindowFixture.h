#pragma once
// A main window over the recording platform, with helpers that act as the user would:
// typing into the boxes key by key, and filling an operand's grid.

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLineEdit>
#include <QStringList>
#include <QTest>
#include <memory>

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

    // Types an operand's size into its boxes and its entries ("1 2;3 4") into its grid.
    static void Fill(QLineEdit* rows, QLineEdit* cols, GridWidget* grid, const QString& m) {
        const QStringList lines = m.split(';');
        Type(rows, QString::number(lines.size()));
        Type(cols, QString::number(lines[0].split(' ').size()));
        for (int i = 0; i < lines.size(); ++i)
            for (int j = 0; j < lines[i].split(' ').size(); ++j)
                grid->SetCellText(i + 1, j + 1, lines[i].split(' ')[j]);
    }

    // One row of the result sheet as its cells joined by "|", up to the last non-empty one.
    QString SheetRow(int row) const {
        QStringList cells;
        for (int col = 1; col < window->Grid3->Cols(); ++col)
            cells << window->Grid3->CellText(row, col);
        while (!cells.isEmpty() && cells.back().isEmpty())
            cells.removeLast();
        return cells.join('|');
    }

    RecordingPlatform platform;
    std::unique_ptr<frmMatrix> window;
};

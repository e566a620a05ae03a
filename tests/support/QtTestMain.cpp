// Entry point of the test programs that need Qt: one application object for all tests,
// running on the offscreen platform so that no window ever shows and no dialog blocks.
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

// The main of every Qt test program: widgets need a QApplication before the first test runs.
// Linked from a static library, so a test program that defines its own main keeps it.
#include <gtest/gtest.h>

#include <QApplication>

#include <clocale>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // numbers in files always use the point
    return RUN_ALL_TESTS();
}

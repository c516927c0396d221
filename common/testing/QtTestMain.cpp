// The main of every Qt test program: widgets need a QApplication before the first test runs.
// Linked from a static library, so a test program that defines its own main keeps it.
#include <gtest/gtest.h>

#include <QApplication>

#include <clocale>

int main(int argc, char** argv) {
    // CTest lists the tests by running the program before it sets the environment of the test.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // numbers in files always use the point
    return RUN_ALL_TESTS();
}

#include <QApplication>

#include <gtest/gtest.h>

// Widgets need a QApplication rather than the plain application object.
int main(int argc, char** argv) {
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

#include <QApplication>

#include <gtest/gtest.h>

// Widgets need a QApplication rather than the plain application object. The
// tests never need a display, also when listed at build time.
int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

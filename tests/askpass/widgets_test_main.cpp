#include "support/desktop_session.h"

#include <QApplication>

#include <gtest/gtest.h>

// Widgets need a QApplication rather than the plain application object. The
// tests never need a display, also when listed at build time, and never reach
// the one of a desktop session.
int main(int argc, char** argv) {
    clearDesktopSession();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

#include "support/desktop_session.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

// Every test runs with an application object, so that coroutines can be
// resumed from the event loop.
int main(int argc, char** argv) {
    clearDesktopSession();
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

// Every harness runs with an application object, as the program and the
// test suites do; some defaults ask it for the program's folder.
#include <QCoreApplication>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication application(*argc, *argv);
    return 0;
}

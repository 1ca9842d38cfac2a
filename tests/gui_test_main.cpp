// main() of the test programs that draw (icons, badges): GoogleTest inside a
// QGuiApplication, on the X server when DISPLAY names one, else offscreen.
// Run them with the suppressions of tests/asan-xcb.supp under AddressSanitizer.
#include <QGuiApplication>

#include <gtest/gtest.h>

#include "lsan_fontconfig.h"

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Listing the tests (CTest discovery at build time) needs no display, and
    // the DISPLAY of the environment may name a server that is gone.
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}

// main() of the widget tests: GoogleTest inside an RKHKApplication, on the X
// server when DISPLAY is set (the tests that need one skip otherwise) and
// offscreen without one.
#include <rkcore/RKHKApplication.h>

#include <gtest/gtest.h>

#include "../lsan_fontconfig.h"

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Listing the tests (CTest discovery at build time) needs no display, and
    // the DISPLAY of the environment may name a server that is gone.
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    if (qEnvironmentVariableIsEmpty("DISPLAY")) qputenv("QT_QPA_PLATFORM", "offscreen");
    rk::RKHKApplication app(argc, argv);
    return RUN_ALL_TESTS();
}

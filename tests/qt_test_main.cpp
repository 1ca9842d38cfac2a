// main() of the object-layer test programs: GoogleTest inside a QCoreApplication,
// so that event loops, timers and Qt resources work as in an application.
#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}

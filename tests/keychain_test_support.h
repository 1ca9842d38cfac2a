// What the tests that reach the session's Secret Service share.
#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QString>

namespace rktest {

// True when a session bus is there to reach (scripts/test starts one with an unlocked keyring).
inline bool hasSessionBus()
{
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS");
}

inline constexpr const char *kNeedsSessionBus = "needs a session bus with a Secret Service (scripts/test starts one)";

// A host name of the running test's own, so that tests never touch each other's (or anybody's) items.
inline QString uniqueTestHost()
{
    const QString test = QString::fromUtf8(testing::UnitTest::GetInstance()->current_test_info()->name());
    return QStringLiteral("%1-%2.rkcore-test.invalid").arg(test.toLower()).arg(QCoreApplication::applicationPid());
}

} // namespace rktest

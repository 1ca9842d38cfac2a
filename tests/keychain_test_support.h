// What the tests that reach the session's Secret Service share.
#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QString>

namespace rktest {

// True inside the private session scripts/test starts (its own bus and an
// unlocked keyring in a temporary home, marked by RKCORE_PRIVATE_SESSION=1):
// the only place keychain tests may run, so that none ever touches the keyring
// of the person running them.
inline bool inPrivateSession()
{
    return qEnvironmentVariable("RKCORE_PRIVATE_SESSION") == QLatin1String("1") &&
           !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS");
}

inline constexpr const char *kNeedsPrivateSession =
    "needs the private session with a Secret Service that scripts/test starts (RKCORE_PRIVATE_SESSION=1)";

// A host name of the running test's own, so that tests never touch each other's (or anybody's) items.
inline QString uniqueTestHost()
{
    const QString test = QString::fromUtf8(testing::UnitTest::GetInstance()->current_test_info()->name());
    return QStringLiteral("%1-%2.rkcore-test.invalid").arg(test.toLower()).arg(QCoreApplication::applicationPid());
}

} // namespace rktest

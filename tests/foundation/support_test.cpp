// Assertions, the logging category, alerts and framework resources.
#include <rkcore/Alert.h>
#include <rkcore/AssertionFailure.h>
#include <rkcore/FrameworkResources.h>
#include <rkcore/PropertyList.h>

#include <gtest/gtest.h>

#include "../log_capture.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

using rktest::LogCapture;

namespace {

rk::Alert makeAlert(const char *title, const char *message)
{
    rk::Alert alert;
    alert.title = QString::fromUtf8(title);
    alert.message = QString::fromUtf8(message);
    return alert;
}

int assertOnNull(const char *argument)
{
    RK_PARAMETER_ASSERT(argument != nullptr, nullptr);
    return 1;
}

TEST(Assertions, ParameterAssertionNamesTheCondition)
{
    const LogCapture capture;
    EXPECT_EQ(assertOnNull("x"), 1);
    try {
        assertOnNull(nullptr);
        FAIL() << "no assertion failure";
    } catch (const rk::AssertionFailure &failure) {
        EXPECT_EQ(failure.description(), QStringLiteral("Invalid parameter not satisfying: argument != nullptr"));
        EXPECT_TRUE(failure.file().endsWith(QStringLiteral("support_test.cpp"))) << failure.file().toStdString();
        EXPECT_EQ(failure.method(), QStringLiteral("assertOnNull"));
        EXPECT_GT(failure.line(), 0);
        EXPECT_STREQ(failure.what(), "Invalid parameter not satisfying: argument != nullptr");
    }
    ASSERT_EQ(LogCapture::lines().size(), 1);
    EXPECT_TRUE(LogCapture::lines().first().startsWith(QStringLiteral("*** Assertion failure in assertOnNull")));
}

TEST(Alerts, HandlersReplaceAndRestoreTheDefaults)
{
    QStringList calls;
    const rk::AlertHandler oldAlert = rk::setAlertHandler([&calls](const rk::Alert &alert) {
        calls << alert.title + QLatin1Char('/') + alert.message + QLatin1Char('/') + alert.defaultButton;
        return 1;
    });
    const rk::BeepHandler oldBeep = rk::setBeepHandler([&calls] { calls << QStringLiteral("beep"); });
    const rk::TerminateHandler oldTerminate = rk::setTerminateHandler([&calls] { calls << QStringLiteral("quit"); });
    EXPECT_EQ(rk::runAlert(makeAlert("Sorry", "It broke")), 1);
    rk::beep();
    rk::terminateApplication();
    EXPECT_EQ(calls, QStringList({"Sorry/It broke/OK", "beep", "quit"}));

    rk::setAlertHandler(oldAlert);
    rk::setBeepHandler(oldBeep);
    rk::setTerminateHandler(oldTerminate);
    // The default alert, without a GUI, is a log line answering the default button.
    const LogCapture capture;
    EXPECT_EQ(rk::runAlert(makeAlert("Sorry", "No room")), 0);
    EXPECT_EQ(LogCapture::lines(), QStringList({"Alert: Sorry: No room"}));
}

TEST(Resources, CompiledInInfoPlistAndTheTestOverride)
{
    rk::setFrameworkResourceDirectory({});
    const std::optional<QByteArray> info = rk::frameworkResourceData(QStringLiteral("Info.plist"));
    ASSERT_TRUE(info.has_value());
    const std::optional<QVariant> plist = rk::PropertyList::fromData(*info);
    ASSERT_TRUE(plist.has_value());
    EXPECT_EQ(plist->toMap().value("CFBundleIdentifier").toString(), QStringLiteral("org.ravix.RKCore"));
    EXPECT_EQ(rk::frameworkResourcePath(QStringLiteral("Info.plist")), QStringLiteral(":/rkcore/Info.plist"));

    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    QFile replacement(directory.filePath(QStringLiteral("KeyCodes.plist")));
    ASSERT_TRUE(replacement.open(QIODevice::WriteOnly));
    replacement.write("replaced");
    replacement.close();
    rk::setFrameworkResourceDirectory(directory.path());
    EXPECT_EQ(rk::frameworkResourceData(QStringLiteral("KeyCodes.plist")), QByteArray("replaced"));
    EXPECT_TRUE(rk::frameworkResourcePath(QStringLiteral("Info.plist")).isNull())
        << "with an override only the override directory counts";
    rk::setFrameworkResourceDirectory({});
    EXPECT_FALSE(rk::frameworkResourcePath(QStringLiteral("Info.plist")).isNull());
}

TEST(Resources, NamesThatAreNeverResources)
{
    for (const char *name : {"", "/etc/passwd", "../Info.plist", "a/../Info.plist", ":/rkcore/Info.plist", "a//b",
                             "./Info.plist", "Missing.plist"}) {
        EXPECT_TRUE(rk::frameworkResourcePath(QString::fromUtf8(name)).isNull()) << "name: " << name;
        EXPECT_FALSE(rk::frameworkResourceData(QString::fromUtf8(name)).has_value()) << "name: " << name;
    }
}

} // namespace

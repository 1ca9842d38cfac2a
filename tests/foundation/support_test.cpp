#include <rkcore/Alert.h>
#include <rkcore/AssertionFailure.h>
#include <rkcore/FrameworkResources.h>
#include <rkcore/PropertyList.h>

#include <gtest/gtest.h>

#include "../log_capture.h"

#include <QFile>
#include <QTemporaryDir>

using rktest::LogCapture;

namespace {

const int assertLine = __LINE__ + 3;
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
        EXPECT_EQ(failure.description(), "Invalid parameter not satisfying: argument != nullptr");
        EXPECT_STREQ(failure.what(), "Invalid parameter not satisfying: argument != nullptr");
        EXPECT_TRUE(failure.file().endsWith("support_test.cpp")) << failure.file().toStdString();
        EXPECT_EQ(failure.method(), "assertOnNull");
        EXPECT_EQ(failure.line(), assertLine);
    }
    ASSERT_EQ(LogCapture::lines().size(), 1);
    EXPECT_TRUE(LogCapture::lines().first().startsWith("*** Assertion failure in assertOnNull"));
}

// Replaced handlers are called; the restored default alert, without a GUI, logs and answers the default button.
TEST(Alerts, HandlersReplaceAndRestoreTheDefaults)
{
    const rk::Alert alert{.title = "Sorry", .message = "It broke", .alternateButton = {}, .otherButton = {}};
    QStringList calls;
    const auto oldAlert = rk::setAlertHandler([&calls](const rk::Alert &shown) {
        calls << shown.title + '/' + shown.message + '/' + shown.defaultButton;
        return 1;
    });
    const auto oldBeep = rk::setBeepHandler([&calls] { calls << "beep"; });
    const auto oldTerminate = rk::setTerminateHandler([&calls] { calls << "quit"; });
    EXPECT_EQ(rk::runAlert(alert), 1);
    rk::beep(), rk::terminateApplication();
    EXPECT_EQ(calls, QStringList({"Sorry/It broke/OK", "beep", "quit"}));
    rk::setAlertHandler(oldAlert), rk::setBeepHandler(oldBeep), rk::setTerminateHandler(oldTerminate);
    const LogCapture capture;
    EXPECT_EQ(rk::runAlert(alert), 0);
    EXPECT_EQ(LogCapture::lines(), QStringList({"Alert: Sorry: It broke"}));
}

// The compiled-in Info.plist; names outside the resources; with a test override only that directory counts.
TEST(Resources, CompiledInInfoPlistTheTestOverrideAndNamesThatAreNeverResources)
{
    rk::setFrameworkResourceDirectory({});
    const std::optional<QVariant> info =
        rk::PropertyList::fromData(rk::frameworkResourceData("Info.plist").value_or(""));
    EXPECT_EQ(info.value_or(QVariant()).toMap().value("CFBundleIdentifier").toString(), "org.ravix.RKCore");
    EXPECT_EQ(rk::frameworkResourcePath("Info.plist"), ":/rkcore/Info.plist");
    for (const char *name : {"", "/etc/passwd", "../Info.plist", "a/../Info.plist", ":/rkcore/Info.plist", "a//b",
                             "./Info.plist", "Missing.plist"}) {
        EXPECT_TRUE(rk::frameworkResourcePath(name).isNull()) << "name: " << name;
        EXPECT_FALSE(rk::frameworkResourceData(name).has_value()) << "name: " << name;
    }
    QTemporaryDir directory;
    QFile replacement(directory.filePath("KeyCodes.plist"));
    ASSERT_TRUE(replacement.open(QIODevice::WriteOnly) && replacement.write("replaced") == 8 && replacement.flush());
    rk::setFrameworkResourceDirectory(directory.path());
    EXPECT_EQ(rk::frameworkResourceData("KeyCodes.plist"), QByteArray("replaced"));
    EXPECT_TRUE(rk::frameworkResourcePath("Info.plist").isNull());
    rk::setFrameworkResourceDirectory({});
    EXPECT_FALSE(rk::frameworkResourcePath("Info.plist").isNull());
}

} // namespace

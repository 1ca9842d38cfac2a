// Shared pieces of the platform adapter tests: running an oracle program and
// making fixtures in a fresh temporary folder.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace rktest {

struct Oracle {
    int exitCode = -1;
    QString out;
};

// Runs a program nobody here wrote; exit code -1 when it cannot be started.
inline Oracle runOracle(const QStringList &call)
{
    QProcess process;
    process.start(call.first(), call.mid(1));
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit) return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()).trimmed()};
}

// A fresh temporary folder with helpers to fill it.
class Fixture {
public:
    Fixture() { EXPECT_TRUE(dir.isValid()); }
    QString path(const QString &relative = {}) const
    {
        return relative.isEmpty() ? dir.path() : dir.filePath(relative);
    }
    QByteArray bytes(const QString &relative = {}) const { return QFile::encodeName(path(relative)); }
    QByteArray write(const QString &relative, const QByteArray &contents, QFile::Permissions extra = {}) const
    {
        QDir().mkpath(QFileInfo(path(relative)).path());
        QFile file(path(relative));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(relative);
        file.write(contents);
        file.close();
        if (extra) file.setPermissions(file.permissions() | extra);
        return bytes(relative);
    }
    QByteArray mkdir(const QString &relative) const
    {
        EXPECT_TRUE(QDir().mkpath(path(relative)));
        return bytes(relative);
    }

private:
    QTemporaryDir dir;
};

inline constexpr QFile::Permissions kExecutable = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;

} // namespace rktest

// rkcore alias: writes an alias record of an item, and resolves one.
//
//   rkcore alias make PATH OUT    writes the record of the item at PATH to the file OUT
//   rkcore alias resolve FILE     prints the path the record in FILE resolves to
//
// A record that does not resolve (the item gone, replaced or moved out of its
// folder; damaged or foreign bytes) gives status 1.

#include <rkcore/RBAlias.h>

#include <QFile>
#include <QSaveFile>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

constexpr qint64 kLargestRecord = 1 << 16; // far above any valid record

int make(const QString &path, const QString &out)
{
    const auto alias = rk::RBAlias::aliasWithPath(path);
    if (!alias) return failure(QStringLiteral("cannot make an alias of %1: nothing is there").arg(path));
    QSaveFile file(out);
    if (!file.open(QIODevice::WriteOnly) || file.write(alias->data()) != alias->data().size() || !file.commit()) {
        return failure(QStringLiteral("cannot write %1: %2").arg(out, file.errorString()));
    }
    return 0;
}

int resolve(const QString &recordFile)
{
    QFile file(recordFile);
    if (!file.open(QIODevice::ReadOnly)) {
        return failure(QStringLiteral("cannot read %1: %2").arg(recordFile, file.errorString()));
    }
    const QByteArray bytes = file.read(kLargestRecord);
    const auto alias = rk::RBAlias::aliasWithData(bytes.isNull() ? QByteArray("") : bytes);
    const QString resolved = alias ? alias->path() : QString();
    if (resolved.isNull()) return failure(QStringLiteral("the alias in %1 does not resolve").arg(recordFile));
    printLine(resolved);
    return 0;
}

} // namespace

int aliasCommand(const Arguments &arguments)
{
    const QStringList &positional = arguments.positional();
    const QString action = positional.value(0);
    if (action == QLatin1String("make") && positional.size() == 3) return make(positional.at(1), positional.at(2));
    if (action == QLatin1String("resolve") && positional.size() == 2) return resolve(positional.at(1));
    return usageError(QStringLiteral("expected make PATH OUT or resolve FILE"));
}

} // namespace rkcli

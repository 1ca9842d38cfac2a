// rkcore icon: the icon an item's object shows (badges included), written as a
// 128 x 128 PNG.

#include <rkcore/RBFileSystemObject.h>
#include <rkcore/rpf_diagnostics.h>

#include <QImage>
#include <QLoggingCategory>

#include <cerrno>
#include <cstring>

#include "cli.h"
#include "commands.h"

namespace rkcli {

int iconCommand(const Arguments &arguments)
{
    const QStringList &positional = arguments.positional();
    rpf_diagnostics_set_stream(stderr);
    QLoggingCategory::setFilterRules(QStringLiteral("rkcore.info=false"));
    errno = 0;
    const auto object = rk::RBFileSystemObject::newFSOForLocalPathBytes(arguments.positionalBytes().at(0), false);
    if (!object) {
        const int error = errno;
        return failure(
            QStringLiteral("cannot read %1: %2").arg(positional.at(0), QString::fromLocal8Bit(std::strerror(error))));
    }
    const QImage icon = object->iconForFSOUsingCached(false);
    if (icon.isNull()) return failure(QStringLiteral("no icon for %1").arg(positional.at(0)));
    if (!icon.save(positional.at(1), "PNG")) return failure(QStringLiteral("cannot write %1").arg(positional.at(1)));
    printLine(QStringLiteral("%1: %2 x %3").arg(positional.at(1)).arg(icon.width()).arg(icon.height()));
    return 0;
}

} // namespace rkcli

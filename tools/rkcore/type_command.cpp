// rkcore type: each name's type code from the data types file (0 unknown,
// 1 image, 2 text), one "CODE<TAB>NAME" line per name.

#include <rkcore/RKFileTypeIdentifier.h>

#include "cli.h"
#include "commands.h"

namespace rkcli {

int typeCommand(const Arguments &arguments)
{
    const QStringList &names = arguments.positional();
    const rk::RKFileTypeIdentifier &identifier = rk::RKFileTypeIdentifier::sharedItemTypeIdentifier();
    for (const QString &name : names)
        printLine(QStringLiteral("%1\t%2").arg(identifier.typeForFileName(name)).arg(name));
    return 0;
}

} // namespace rkcli

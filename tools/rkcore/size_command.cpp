// rkcore size: a byte count as the framework's size texts show it.

#include <rkcore/rpf_size.h>

#include <QRegularExpression>

#include <cstdint>
#include <limits>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {
// Quotes a size text so that a trailing blank stays visible.
QString quoted(const CoreText &text)
{
    return QLatin1Char('"') + fromCore(text) + QLatin1Char('"');
}
} // namespace

int sizeCommand(const Arguments &arguments)
{
    const QString &input = arguments.at(0);
    bool ok = false;
    const qulonglong bytes = input.toULongLong(&ok, 10);
    static const QRegularExpression digits(QStringLiteral("^[0-9]+$"));
    if (!digits.match(input).hasMatch()) return usageError(QStringLiteral("not a byte count: '%1'").arg(input));
    if (!ok) return usageError(QStringLiteral("byte count %1 is above 18446744073709551615").arg(input));
    printField(QStringLiteral("bytes"), QString::number(bytes));
    if (bytes <= static_cast<qulonglong>(std::numeric_limits<int32_t>::max())) {
        const CoreText shortText(rpf_utility_format_size(static_cast<int32_t>(bytes)));
        printField(QStringLiteral("size text (32-bit)"), quoted(shortText));
    } else {
        printField(QStringLiteral("size text (32-bit)"), QStringLiteral("(above the 32-bit range)"));
    }
    const CoreText text(format_size(static_cast<uint32_t>(bytes & 0xffffffffU), static_cast<uint32_t>(bytes >> 32)));
    printField(QStringLiteral("size text (64-bit)"), quoted(text));
    return 0;
}

} // namespace rkcli

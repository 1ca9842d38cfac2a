// rkcore perms: a permission value, listing text or mode in every form.

#include <rkcore/rpf_perms.h>

#include <sys/stat.h>

#include <QRegularExpression>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

QString yesNo(int flag)
{
    return flag ? QStringLiteral("yes") : QStringLiteral("no");
}

QString octalText(uint32_t value, int width)
{
    return QStringLiteral("%1").arg(value, width, 8, QLatin1Char('0'));
}

// Prints the forms of a mode word `mode` whose rights read as `octal`.
int printForms(int32_t octal, uint32_t mode)
{
    int sticky = 0;
    int setgid = 0;
    int setuid = 0;
    (void)modetToPerms(static_cast<uint16_t>(mode), &sticky, &setgid, &setuid);
    const CoreText text(rpf_permissions_octal_to_string(octal));
    const CoreText listing(rpf_permissions_mode_to_listing_string(mode | S_IFREG));
    printField(QStringLiteral("octal value"), QString::number(octal));
    printField(QStringLiteral("text"), fromCore(text));
    printField(QStringLiteral("listing text"), fromCore(listing));
    printField(QStringLiteral("mode"), octalText(mode, 4));
    printField(QStringLiteral("setuid"), yesNo(setuid));
    printField(QStringLiteral("setgid"), yesNo(setgid));
    printField(QStringLiteral("sticky"), yesNo(sticky));
    return 0;
}

} // namespace

int permsCommand(const Arguments &arguments)
{
    const QString &input = arguments.at(0);

    // 1-3 octal digits: the framework's octal value, read as the core reads it.
    static const QRegularExpression value(QStringLiteral("^[0-7]{1,3}$"));
    // 4 octal digits, or 0o and 1-4 digits: a mode word with special bits, as chmod takes it.
    static const QRegularExpression mode(QStringLiteral("^(?:0o([0-7]{1,4})|([0-7]{4}))$"));
    // The ten-character listing form, or the nine-character text.
    static const QRegularExpression listing(QStringLiteral("^[-dlcbps]?[-r][-w][-xsS][-r][-w][-xsS][-r][-w][-xtT]$"));

    if (value.match(input).hasMatch()) {
        const int32_t octal = input.toInt();
        return printForms(octal, rpf_permissions_octal_to_mode(octal));
    }
    if (const QRegularExpressionMatch match = mode.match(input); match.hasMatch()) {
        const QString digits = match.captured(1).isEmpty() ? match.captured(2) : match.captured(1);
        const auto word = static_cast<uint32_t>(digits.toUInt(nullptr, 8));
        return printForms(rpf_get_perms_from_mode(static_cast<uint16_t>(word)), word);
    }
    if (listing.match(input).hasMatch()) {
        const QString text = input.size() == 9 ? QLatin1Char('-') + input : input;
        const int32_t octal = rpf_permissions_string_to_octal(text.toLatin1().constData());
        uint32_t word = rpf_permissions_octal_to_mode(octal);
        // The value leaves the special bits out; the mode keeps them.
        if (text.at(3) == QLatin1Char('s') || text.at(3) == QLatin1Char('S')) word |= 04000U;
        if (text.at(6) == QLatin1Char('s') || text.at(6) == QLatin1Char('S')) word |= 02000U;
        if (text.at(9) == QLatin1Char('t') || text.at(9) == QLatin1Char('T')) word |= 01000U;
        if (text.at(3) == QLatin1Char('s')) word |= 0100U;
        if (text.at(6) == QLatin1Char('s')) word |= 010U;
        if (text.at(9) == QLatin1Char('t')) word |= 01U;
        // The octal value is the core's reading, in which s and t letters grant no execute right.
        return printForms(octal, word);
    }
    return usageError(QStringLiteral("not a permission value, mode or listing text: '%1'").arg(input));
}

} // namespace rkcli

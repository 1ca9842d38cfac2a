// rkcore lsdate: the date column of a long directory listing read back into a time.

#include <rkcore/rpf_date.h>

#include <QDateTime>
#include <QRegularExpression>

#include "cli.h"
#include "commands.h"

namespace rkcli {

int lsdateCommand(const QStringList &arguments)
{
    QString input;
    if (!singleArgument("lsdate", arguments, input)) return kExitUsage;
    // "Mmm dd hh:mm" or "Mmm dd  yyyy"; the day may begin with a blank.
    static const QRegularExpression layout(
        QStringLiteral("^[A-Z][a-z]{2} [ 0-9][0-9] (?:[0-9]{2}:[0-9]{2}| [0-9]{4})$"));
    if (!layout.match(input).hasMatch()) {
        return usageError(
            QStringLiteral("not a listing date (expected 'Mmm dd hh:mm' or 'Mmm dd  yyyy'): %1").arg(input));
    }
    const QByteArray text = input.toLatin1();
    const time_t when = rpf_date_ls_date_to_time_t(text.constData());
    const CoreText display(rpf_date_string_from_time_t(when));
    printField(QStringLiteral("time"), QString::number(static_cast<qint64>(when)));
    printField(QStringLiteral("local time"),
               QDateTime::fromSecsSinceEpoch(when).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss t")));
    printField(QStringLiteral("date text"), fromCore(display));
    return 0;
}

} // namespace rkcli

// rkcore lsdate: the date column of a long directory listing read back into a time.

#include <rkcore/rpf_date.h>

#include <QDate>
#include <QDateTime>
#include <QRegularExpression>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

// Why a listing date that has the right layout names no real moment (month
// name, day of that month, hour and minute), or an empty text when it does.
// Without a year, 29 February is possible.
QString impossibility(const QRegularExpressionMatch &match)
{
    static const QStringList months{QStringLiteral("Jan"), QStringLiteral("Feb"), QStringLiteral("Mar"),
                                    QStringLiteral("Apr"), QStringLiteral("May"), QStringLiteral("Jun"),
                                    QStringLiteral("Jul"), QStringLiteral("Aug"), QStringLiteral("Sep"),
                                    QStringLiteral("Oct"), QStringLiteral("Nov"), QStringLiteral("Dec")};
    const qsizetype month = months.indexOf(match.captured(1));
    if (month < 0) return QStringLiteral("no month is called '%1'").arg(match.captured(1));
    const int day = match.captured(2).trimmed().toInt();
    const int year = match.captured(5).isEmpty() ? 2000 : match.captured(5).toInt();
    if (!QDate::isValid(year, static_cast<int>(month) + 1, day)) {
        return match.captured(5).isEmpty()
                   ? QStringLiteral("%1 has no day %2").arg(match.captured(1)).arg(day)
                   : QStringLiteral("%1 %2 has no day %3").arg(match.captured(1)).arg(year).arg(day);
    }
    if (!match.captured(3).isEmpty() && (match.captured(3).toInt() > 23 || match.captured(4).toInt() > 59))
        return QStringLiteral("no time of day is %1:%2").arg(match.captured(3), match.captured(4));
    return {};
}

} // namespace

int lsdateCommand(const Arguments &arguments)
{
    const QString &input = arguments.at(0);
    // "Mmm dd hh:mm" or "Mmm dd  yyyy"; the day may begin with a blank.
    static const QRegularExpression layout(
        QStringLiteral("^([A-Z][a-z]{2}) ([ 0-9][0-9]) (?:([0-9]{2}):([0-9]{2})| ([0-9]{4}))$"));
    const QRegularExpressionMatch match = layout.match(input);
    if (!match.hasMatch()) {
        return usageError(
            QStringLiteral("not a listing date (expected 'Mmm dd hh:mm' or 'Mmm dd  yyyy'): '%1'").arg(input));
    }
    if (const QString why = impossibility(match); !why.isEmpty())
        return usageError(QStringLiteral("impossible date '%1': %2").arg(input, why));
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

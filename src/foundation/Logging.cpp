#include <rkcore/Logging.h>

#include "CoreTraces_p.h"

#include <QRegularExpression>
#include <QString>

#include <algorithm>

namespace rk {

// Info and above are on by default: the category stands for the system log.
Q_LOGGING_CATEGORY(rkcoreLogCategory, "rkcore", QtInfoMsg)

const QLoggingCategory &rkcoreLog()
{
    return rkcoreLogCategory();
}

// ---- the core's traces of object-layer calls ----

CoreTraceScope::CoreTraceScope()
{
    m_hadOverride = rpf_diagnostics_get_thread_callback(&m_previousCallback, &m_previousContext) != 0;
    // Off: a null callback discards, and the parsers then format nothing.
    const bool logged = rkcoreLog().isDebugEnabled();
    rpf_diagnostics_set_thread_callback(logged ? &CoreTraceScope::collect : nullptr, this);
}

CoreTraceScope::~CoreTraceScope()
{
    if (m_hadOverride) {
        rpf_diagnostics_set_thread_callback(m_previousCallback, m_previousContext);
    } else {
        rpf_diagnostics_clear_thread_callback();
    }
    if (m_text.isEmpty()) return;
    for (const QByteArray &line : maskedLines(m_text, m_secrets))
        qCDebug(rkcoreLog).noquote() << QString::fromUtf8(line);
}

void CoreTraceScope::maskSecret(const QByteArray &secret)
{
    if (!secret.isEmpty() && !m_secrets.contains(secret)) m_secrets.append(secret);
}

void CoreTraceScope::collect(const char *text, void *context)
{
    static_cast<CoreTraceScope *>(context)->m_text.append(text);
}

namespace {

// Trace lines of the URL parsers that tell something about the password
// besides its text: its length (directly, or as the distance counted up to the
// '@' that ends it) and its last character. The first group is kept, the rest
// of the line masked; "Password is" keeps its wording around both masks.
struct RevealingLine {
    QRegularExpression pattern;
    QString replacement;
};

const QList<RevealingLine> &revealingLines()
{
    // One set per thread: QRegularExpression is reentrant, not documented
    // as safe to share between threads.
    thread_local const QList<RevealingLine> lines = {
        {QRegularExpression(QStringLiteral("^(.* : Password is ).* and is -?\\d+ characters long$")),
         QStringLiteral("\\1%1 and is %1 characters long").arg(QLatin1String(kSecretMask))},
        {QRegularExpression(QStringLiteral("^(Last Char is : ).*$")),
         QStringLiteral("\\1%1").arg(QLatin1String(kSecretMask))},
        {QRegularExpression(QStringLiteral("^(URL Length : )-?\\d+$")),
         QStringLiteral("\\1%1").arg(QLatin1String(kSecretMask))},
        {QRegularExpression(QStringLiteral("^(Total Process Chars : )-?\\d+$")),
         QStringLiteral("\\1%1").arg(QLatin1String(kSecretMask))},
    };
    return lines;
}

QByteArray maskRevealingLine(const QByteArray &line)
{
    const QString text = QString::fromUtf8(line);
    for (const RevealingLine &rule : revealingLines()) {
        if (rule.pattern.match(text).hasMatch()) return QString(text).replace(rule.pattern, rule.replacement).toUtf8();
    }
    return line;
}

} // namespace

QList<QByteArray> CoreTraceScope::maskedLines(const QByteArray &text, QList<QByteArray> secrets)
{
    // Longest first: a secret that contains a shorter one is masked whole.
    std::sort(secrets.begin(), secrets.end(),
              [](const QByteArray &a, const QByteArray &b) { return a.size() > b.size(); });
    QByteArray masked = text;
    for (const QByteArray &secret : secrets) {
        if (!secret.isEmpty()) masked.replace(secret, kSecretMask);
    }
    QList<QByteArray> lines = masked.split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty()) lines.removeLast(); // the final line end
    for (QByteArray &line : lines)
        line = maskRevealingLine(line);
    return lines;
}

} // namespace rk

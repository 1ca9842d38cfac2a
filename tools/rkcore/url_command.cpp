// rkcore url: a URL text read by the scheme parsers, and the record's text forms.

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <QRegularExpression>

#include <cstdio>
#include <memory>
#include <optional>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

struct UrlDeleter {
    void operator()(rpf_url *url) const { rpf_url_dealloc(url); }
};
using Url = std::unique_ptr<rpf_url, UrlDeleter>;

// The port a URL text names ("host:PORT" after the last '@' of the part
// between "//" and the next '/'), when it is all digits; a text without one
// answers nothing. Digits beyond any integer count as out of range.
std::optional<QString> portTextOf(const QString &text)
{
    const qsizetype start = text.indexOf(QLatin1String("://"));
    if (start < 0) return std::nullopt;
    const qsizetype slash = text.indexOf(QLatin1Char('/'), start + 3);
    QString authority = text.mid(start + 3, slash < 0 ? -1 : slash - start - 3);
    authority = authority.mid(authority.lastIndexOf(QLatin1Char('@')) + 1);
    const qsizetype colon = authority.lastIndexOf(QLatin1Char(':'));
    if (colon < 0) return std::nullopt;
    const QString port = authority.mid(colon + 1);
    static const QRegularExpression digits(QStringLiteral("^[0-9]+$"));
    if (!digits.match(port).hasMatch()) return std::nullopt;
    return port;
}

// A port outside 1-65535 is refused before any parser sees the text.
bool checkPort(const QString &text)
{
    const auto port = portTextOf(text);
    if (!port) return true;
    bool ok = false;
    const uint value = port->toUInt(&ok, 10);
    if (ok && value >= 1 && value <= 65535) return true;
    usageError(QStringLiteral("the URL's port %1 is outside 1-65535").arg(*port));
    return false;
}

QString orNone(const char *text)
{
    return text == nullptr ? QStringLiteral("(none)") : QString::fromUtf8(text);
}

QString schemeName(int32_t type)
{
    switch (type) {
    case RPF_URL_TYPE_FTP: return QStringLiteral("ftp");
    case RPF_URL_TYPE_SFTP: return QStringLiteral("sftp");
    case RPF_URL_TYPE_FILE: return QStringLiteral("file");
    case RPF_URL_TYPE_AFP: return QStringLiteral("afp");
    case RPF_URL_TYPE_SMB: return QStringLiteral("smb");
    default: return QStringLiteral("unknown");
    }
}

void printRecord(const rpf_url *url)
{
    const int32_t type = rpf_url_type(url);
    printField(QStringLiteral("scheme"), QStringLiteral("%1 (%2)").arg(type).arg(schemeName(type)));
    printField(QStringLiteral("user"), orNone(url->user_name));
    // The password itself is never shown: the output may end up in logs.
    printField(QStringLiteral("password"),
               url->password != nullptr ? QStringLiteral("present") : QStringLiteral("none"));
    printField(QStringLiteral("host"), orNone(rpf_url_host(url)));
    printField(QStringLiteral("port"), QString::number(rpf_url_port(url)));
    printField(QStringLiteral("path"), orNone(rpf_url_itemPath(url)));
    printField(QStringLiteral("anonymous"), rpf_url_isAnonymous(url) ? QStringLiteral("yes") : QStringLiteral("no"));
    const CoreText clean(rpf_url_string_clean(url));
    const CoreText pathless(rpf_url_string_pathless(url));
    const CoreText encapsulated(rpf_ravix_url(url, rpf_ravix_url_item_type(url), rpf_ravix_url_item_size(url)));
    printField(QStringLiteral("clean"), orNone(clean.get()));
    printField(QStringLiteral("pathless"), orNone(pathless.get()));
    printField(QStringLiteral("encapsulated"), orNone(encapsulated.get()));
}

// What the traces may show of a URL text whose record has a password: the
// text with the password written as stars, and the password itself (as the
// parser stored it) to find in the lines that state it.
struct TraceMask {
    QByteArray text;     // the URL text as given
    QByteArray masked;   // the same with its password replaced by ********
    QByteArray password; // the record's password; empty: nothing to hide
};

// The text with the part between the user's ':' and the last '@' of the
// authority as stars.
QByteArray maskedText(const QByteArray &text)
{
    const qsizetype start = text.indexOf("://");
    if (start < 0) return text;
    const qsizetype at = text.lastIndexOf('@');
    const qsizetype colon = text.indexOf(':', start + 3);
    if (at < 0 || colon < 0 || colon > at) return text;
    return text.left(colon + 1) + "********" + text.mid(at);
}

// Writes a parser trace to standard error with everything about the password
// (the context, a TraceMask) hidden: its characters, the last of them, and its
// length, whether stated or told by the lengths of the text around it.
void traceToStandardError(const char *trace, void *context)
{
    QByteArray text(trace);
    const auto *mask = static_cast<const TraceMask *>(context);
    if (!mask->password.isEmpty()) {
        text.replace(mask->text, mask->masked);
        text.replace("Password is " + mask->password + " and is ", QByteArrayLiteral("Password is ******** and is "));
        static const QRegularExpression masked(QStringLiteral(
            "(Password is \\*+ and is )[0-9]+( characters long)|((?:Last Char is|Base Pointer Location) : ).|"
            "((?:URL Length|Total Process Chars|Amount To Process) : )[0-9]+"));
        QString line = QString::fromUtf8(text);
        line.replace(masked, QStringLiteral("\\1\\3\\4*\\2"));
        text = line.toUtf8();
    }
    (void)std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stderr);
}

} // namespace

int urlCommand(const Arguments &arguments)
{
    const QString &input = arguments.at(0);
    if (!checkPort(input)) return kExitUsage;
    const bool append = arguments.has("--append");
    const QByteArray text = input.toUtf8();
    const QByteArray item = arguments.value("--append").toUtf8();
    const auto parse = [&] {
        return Url(append ? rpf_url_by_appending_item(text.constData(), item.constData())
                          : rpf_url_new_from_string(text.constData()));
    };
    // The parsers trace on the core's diagnostic stream; standard output is
    // kept for the answer. A first, silent reading tells the password, so
    // that the traced one can hide it.
    rpf_diagnostics_set_stream(nullptr);
    Url url = parse();
    TraceMask mask{text, maskedText(text), {}};
    if (arguments.has("--trace")) {
        if (url && url->password != nullptr) mask.password = url->password;
        rpf_diagnostics_set_callback(traceToStandardError, &mask);
        url = parse();
    }
    // The text forms' own messages ("Unsupported URL Type") follow the traces.
    const int status =
        url ? (printRecord(url.get()), 0) : usageError(QStringLiteral("not a supported URL: '%1'").arg(input));
    rpf_diagnostics_reset();
    return status;
}

} // namespace rkcli

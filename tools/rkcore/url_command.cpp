// rkcore url: a URL text read by the scheme parsers, and the record's text forms.

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <cstdio>
#include <memory>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

struct UrlDeleter {
    void operator()(rpf_url *url) const { rpf_url_dealloc(url); }
};
using Url = std::unique_ptr<rpf_url, UrlDeleter>;

struct UrlOptions {
    bool trace = false;
    bool append = false;
    QString item;
    QString text;
};

// [--trace] [--append NAME] [--] TEXT; false after reporting a usage error.
bool readOptions(const QStringList &arguments, UrlOptions &options)
{
    qsizetype index = 0;
    for (; index < arguments.size(); ++index) {
        const QString &argument = arguments.at(index);
        if (argument == QLatin1String("--trace")) {
            options.trace = true;
        } else if (argument == QLatin1String("--append")) {
            if (++index >= arguments.size()) {
                usageError(QStringLiteral("url --append needs an item name (see rkcore --help)"));
                return false;
            }
            options.append = true;
            options.item = arguments.at(index);
        } else if (argument == QLatin1String("--")) {
            ++index;
            break;
        } else {
            break;
        }
    }
    if (arguments.size() - index != 1) {
        usageError(QStringLiteral("url takes one URL text (see rkcore --help)"));
        return false;
    }
    options.text = arguments.at(index);
    return true;
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

// Writes a parser trace to standard error with the password (the context, a
// QByteArray) replaced by stars: traces show the URL and the password in full.
void traceToStandardError(const char *trace, void *context)
{
    QByteArray text(trace);
    const auto *password = static_cast<const QByteArray *>(context);
    if (!password->isEmpty()) text.replace(*password, QByteArrayLiteral("********"));
    (void)std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stderr);
}

} // namespace

int urlCommand(const QStringList &arguments)
{
    UrlOptions options;
    if (!readOptions(arguments, options)) return kExitUsage;
    const QByteArray text = options.text.toUtf8();
    const QByteArray item = options.item.toUtf8();
    const auto parse = [&] {
        return Url(options.append ? rpf_url_by_appending_item(text.constData(), item.constData())
                                  : rpf_url_new_from_string(text.constData()));
    };
    // The parsers trace on the core's diagnostic stream; standard output is
    // kept for the answer. A first, silent reading tells the password, so
    // that the traced one can hide it.
    rpf_diagnostics_set_stream(nullptr);
    Url url = parse();
    QByteArray password;
    if (options.trace) {
        if (url && url->password != nullptr) password = url->password;
        rpf_diagnostics_set_callback(traceToStandardError, &password);
        url = parse();
    }
    // The text forms' own messages ("Unsupported URL Type") follow the traces.
    const int status =
        url ? (printRecord(url.get()), 0) : usageError(QStringLiteral("not a supported URL: %1").arg(options.text));
    rpf_diagnostics_reset();
    return status;
}

} // namespace rkcli

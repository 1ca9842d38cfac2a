// rkcore keychain: stores, finds and deletes login passwords in the password
// store as the framework keeps them.
//
//   rkcore keychain set|find|delete [--generic] [--show] HOST USER [PORT]
//
// The password is read from standard input (one line) or, on a terminal, from
// a prompt without echo; never from the command line, where other users could
// see it. find prints it only with --show.

#include <rkcore/RBKeychain.h>
#include <rkcore/rpf_url.h>

#include <QLoggingCategory>

#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <optional>
#include <string>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

constexpr uint16_t kDefaultPort = RPF_URL_PORT_FTP; // an internet password's port when none is given

struct Request {
    QString action;
    QString host;
    QString user;
    uint16_t port = kDefaultPort;
    bool generic = false;
    bool show = false;
};

// Reads one line from standard input, without its line end; nothing at end
// of input.
std::optional<std::string> readLine()
{
    std::string line;
    int character = 0;
    bool any = false;
    while ((character = std::fgetc(stdin)) != EOF) {
        any = true;
        if (character == '\n') break;
        line.push_back(static_cast<char>(character));
    }
    if (!any) return std::nullopt;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

// The terminal settings to put back if the prompt is interrupted.
termios savedTerminal{};

extern "C" void restoreTerminalAndDie(int signal)
{
    (void)tcsetattr(STDIN_FILENO, TCSANOW, &savedTerminal);
    (void)std::signal(signal, SIG_DFL);
    (void)std::raise(signal);
}

// The password from a no-echo prompt on a terminal, else from standard input;
// `utf8` tells whether the line was UTF-8 text (the store keeps text, so
// other bytes would be stored as something else).
std::optional<QString> readPassword(bool &utf8)
{
    std::optional<std::string> line;
    if (isatty(STDIN_FILENO) != 0 && tcgetattr(STDIN_FILENO, &savedTerminal) == 0) {
        termios quiet = savedTerminal;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        (void)std::fputs("Password: ", stderr);
        (void)std::fflush(stderr);
        // Ctrl-C at the prompt must not leave the terminal without echo.
        const auto previousInterrupt = std::signal(SIGINT, restoreTerminalAndDie);
        const auto previousTerminate = std::signal(SIGTERM, restoreTerminalAndDie);
        (void)tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
        line = readLine();
        (void)tcsetattr(STDIN_FILENO, TCSAFLUSH, &savedTerminal);
        (void)std::signal(SIGINT, previousInterrupt);
        (void)std::signal(SIGTERM, previousTerminate);
        (void)std::fputs("\n", stderr);
    } else {
        line = readLine();
    }
    if (!line) return std::nullopt;
    QString password = QString::fromStdString(*line);
    QByteArray again = password.toUtf8();
    utf8 = again.size() == static_cast<qsizetype>(line->size()) && again == line->c_str();
    again.fill('\0');
    line->assign(line->size(), '\0');
    return password;
}

// The longest password, in bytes of UTF-8, that the store's items can be read
// back with.
constexpr qsizetype kMaxPasswordBytes = 256;

bool parse(const Arguments &arguments, Request &request)
{
    request.generic = arguments.has("--generic");
    request.show = arguments.has("--show");
    static const QStringList actions{QStringLiteral("set"), QStringLiteral("find"), QStringLiteral("delete")};
    if (!actions.contains(arguments.at(0))) {
        usageError(QStringLiteral("unknown action '%1' (set, find or delete)").arg(arguments.at(0)));
        return false;
    }
    if (request.generic && arguments.count() == 4) {
        usageError(QStringLiteral("extra argument '%1' (a generic password has no port)").arg(arguments.at(3)));
        return false;
    }
    request.action = arguments.at(0);
    request.host = arguments.at(1);
    request.user = arguments.at(2);
    if (request.show && request.action != QLatin1String("find")) {
        usageError(QStringLiteral("--show goes with find only"));
        return false;
    }
    if (arguments.count() == 4) {
        const auto port = parseInteger(QStringLiteral("PORT"), arguments.at(3), 1, 65535);
        if (!port) return false;
        request.port = static_cast<uint16_t>(*port);
    }
    return true;
}

// The status and line for a call the store did not carry out: 1 for a missing
// item, 3 when the store cannot be used.
int storeFailure(const QString &what)
{
    switch (rk::RBKeychain::lastResultCode()) {
    case rk::RBKeychain::kItemNotFound: failure(QStringLiteral("not found")); return kExitFailure;
    case rk::RBKeychain::kNoErr: failure(what); return kExitFailure;
    case rk::RBKeychain::kInteractionNotAllowed:
        failure(QStringLiteral("%1: the password collection is locked").arg(what));
        return kExitUnavailable;
    case rk::RBKeychain::kNoDefaultKeychain:
        failure(QStringLiteral("%1: no Secret Service with a default collection").arg(what));
        return kExitUnavailable;
    default: failure(QStringLiteral("%1: the Secret Service cannot be used").arg(what)); return kExitUnavailable;
    }
}

QString findPassword(const Request &request)
{
    rk::RBKeychain &keychain = rk::RBKeychain::sharedKeychain();
    return request.generic ? keychain.findGenericPasswordForHost(request.host, request.user)
                           : keychain.findInternetPasswordForHost(request.host, request.user, request.port);
}

int set(const Request &request)
{
    bool utf8 = true;
    const std::optional<QString> password = readPassword(utf8);
    if (!password) return failure(QStringLiteral("no password given on standard input"));
    if (!utf8) return usageError(QStringLiteral("the password is not UTF-8 text"));
    const qsizetype bytes = password->toUtf8().size();
    if (bytes > kMaxPasswordBytes) {
        return usageError(QStringLiteral("the password is %1 bytes of UTF-8; at most %2 can be read back")
                              .arg(bytes)
                              .arg(kMaxPasswordBytes));
    }
    rk::RBKeychain &keychain = rk::RBKeychain::sharedKeychain();
    const bool stored = request.generic
                            ? keychain.setGenericPassword(*password, request.host, request.user)
                            : keychain.setInternetPassword(*password, request.host, request.user, request.port);
    // The call answers true for some failures (a locked collection among
    // them); the result code tells.
    if (!stored || rk::RBKeychain::lastResultCode() != rk::RBKeychain::kNoErr)
        return storeFailure(QStringLiteral("the password was not stored"));
    // Confirmed only when the store gives the same text back.
    const QString readBack = findPassword(request);
    if (readBack.isNull() || rk::RBKeychain::lastResultCode() != rk::RBKeychain::kNoErr)
        return storeFailure(QStringLiteral("the password cannot be read back"));
    if (readBack != *password) return failure(QStringLiteral("the password reads back differently"));
    printLine(QStringLiteral("stored"));
    return 0;
}

int find(const Request &request)
{
    const QString password = findPassword(request);
    // A locked collection answers an empty text, not a null one; the result
    // code tells it from a stored empty password.
    if (password.isNull() || rk::RBKeychain::lastResultCode() != rk::RBKeychain::kNoErr)
        return storeFailure(QStringLiteral("no password read"));
    printLine(request.show ? password : QStringLiteral("found (--show prints it)"));
    return 0;
}

int remove(const Request &request)
{
    rk::RBKeychain &keychain = rk::RBKeychain::sharedKeychain();
    if (request.generic) {
        (void)keychain.deleteGenericPasswordForHost(request.host, request.user);
    } else {
        // The password argument plays no part in the search.
        keychain.deleteInternetPassword(QStringLiteral(""), request.host, request.user, request.port);
    }
    if (rk::RBKeychain::lastResultCode() != rk::RBKeychain::kNoErr)
        return storeFailure(QStringLiteral("nothing deleted"));
    printLine(QStringLiteral("deleted"));
    return 0;
}

} // namespace

int keychainCommand(const Arguments &arguments)
{
    Request request;
    if (!parse(arguments, request)) return kExitUsage;
    // The tool says what happened in one line of its own; the keychain's log
    // lines would repeat it.
    QLoggingCategory::setFilterRules(QStringLiteral("rkcore.debug=false\nrkcore.info=false\nrkcore.warning=false"));
    if (request.action == QLatin1String("set")) return set(request);
    if (request.action == QLatin1String("find")) return find(request);
    return remove(request);
}

} // namespace rkcli

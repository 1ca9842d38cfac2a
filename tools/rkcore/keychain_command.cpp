// rkcore keychain: stores, finds and deletes login passwords in the password
// store as the framework keeps them.
//
//   rkcore keychain set|find|delete [--generic] [--show] HOST USER [PORT]
//
// The password is read from standard input (one line) or, on a terminal, from
// a prompt without echo; never from the command line, where other users could
// see it. find prints it only with --show.

#include <rkcore/RBKeychain.h>

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

constexpr uint16_t kDefaultPort = 21;

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

// The password from a no-echo prompt on a terminal, else from standard input.
std::optional<QString> readPassword()
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
    line->assign(line->size(), '\0');
    return password;
}

bool parse(const QStringList &arguments, Request &request)
{
    QStringList positional;
    if (!splitArguments("keychain", arguments, {{"--generic", &request.generic}, {"--show", &request.show}},
                        positional)) {
        return false;
    }
    static const QStringList actions{QStringLiteral("set"), QStringLiteral("find"), QStringLiteral("delete")};
    const qsizetype most = request.generic ? 3 : 4;
    if (positional.size() < 3 || positional.size() > most || !actions.contains(positional.first())) {
        usageError(QStringLiteral("usage: rkcore keychain set|find|delete [--generic] [--show] HOST USER%1")
                       .arg(request.generic ? QString() : QStringLiteral(" [PORT]")));
        return false;
    }
    request.action = positional.at(0);
    request.host = positional.at(1);
    request.user = positional.at(2);
    if (request.show && request.action != QLatin1String("find")) {
        usageError(QStringLiteral("keychain: --show goes with find only"));
        return false;
    }
    if (positional.size() == 4) {
        bool ok = false;
        const uint port = positional.at(3).toUInt(&ok, 10);
        if (!ok || port > 65535) {
            usageError(QStringLiteral("keychain: not a port: %1").arg(positional.at(3)));
            return false;
        }
        request.port = static_cast<uint16_t>(port);
    }
    return true;
}

int set(const Request &request)
{
    const std::optional<QString> password = readPassword();
    if (!password) return failure(QStringLiteral("no password given on standard input"));
    rk::RBKeychain &keychain = rk::RBKeychain::sharedKeychain();
    const bool stored = request.generic
                            ? keychain.setGenericPassword(*password, request.host, request.user)
                            : keychain.setInternetPassword(*password, request.host, request.user, request.port);
    if (!stored) return failure(QStringLiteral("the password was not stored"));
    printLine(QStringLiteral("stored"));
    return 0;
}

int find(const Request &request)
{
    rk::RBKeychain &keychain = rk::RBKeychain::sharedKeychain();
    const QString password = request.generic
                                 ? keychain.findGenericPasswordForHost(request.host, request.user)
                                 : keychain.findInternetPasswordForHost(request.host, request.user, request.port);
    if (password.isNull()) return failure(QStringLiteral("no password found"));
    printLine(request.show ? password : QStringLiteral("found (--show prints it)"));
    return 0;
}

int remove(const Request &request)
{
    rk::RBKeychain &keychain = rk::RBKeychain::sharedKeychain();
    if (request.generic) {
        if (!keychain.deleteGenericPasswordForHost(request.host, request.user)) {
            return failure(QStringLiteral("no password deleted"));
        }
    } else {
        // The password argument plays no part in the search.
        keychain.deleteInternetPassword(QStringLiteral(""), request.host, request.user, request.port);
    }
    printLine(QStringLiteral("deleted"));
    return 0;
}

} // namespace

int keychainCommand(const QStringList &arguments)
{
    Request request;
    if (!parse(arguments, request)) return kExitUsage;
    if (request.action == QLatin1String("set")) return set(request);
    if (request.action == QLatin1String("find")) return find(request);
    return remove(request);
}

} // namespace rkcli

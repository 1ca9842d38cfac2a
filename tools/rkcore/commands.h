// The rkcore tool's commands: one function per command, each in its own file,
// and the table that describes their arguments for the parser and the help.
#pragma once

#include <QByteArray>
#include <QList>

#include <optional>
#include <span>
#include <vector>

#include "cli.h"

namespace rk {
class RBFileSystemObject;
}

namespace rkcli {

// Runs a command with its parsed arguments; returns the exit status.
using CommandFunction = int (*)(const Arguments &arguments);

struct Command {
    const char *name = nullptr;
    const char *usage = nullptr;   // arguments, as shown in the help
    const char *summary = nullptr; // one line
    const char *details = "";      // what the arguments are, for COMMAND --help
    std::vector<OptionSpec> options;
    int minArguments = 0;
    int maxArguments = 0; // -1: no limit
    ArgumentKind kind = ArgumentKind::Text;
    bool dashArguments = false; // an argument may begin with '-' ("-rwxr-xr-x")
    bool json = false;          // takes --json
    const char *exits = "0 done, 2 bad usage, 1 failure";
    CommandFunction run = nullptr;
    bool drawsImages = false; // needs a QGuiApplication (offscreen without a display)
};

// Every command, in the order the help lists them.
std::span<const Command> commands();
const Command *findCommand(const QByteArray &name);

// Parses a command's arguments (the words after its name). "--help" before
// "--" sets `help` and answers empty arguments; a usage error is reported
// (one line, status 2) and answers nothing.
std::optional<Arguments> parseArguments(const Command &command, const QList<QByteArray> &words, bool &help);

// Writes `rkcore COMMAND --help`: usage, what it does, arguments, options and
// exit statuses.
void printCommandHelp(const Command &command);

int permsCommand(const Arguments &arguments);
int sizeCommand(const Arguments &arguments);
int lsdateCommand(const Arguments &arguments);
int urlCommand(const Arguments &arguments);
int lsCommand(const Arguments &arguments);
int keychainCommand(const Arguments &arguments);
int infoCommand(const Arguments &arguments);
int iconCommand(const Arguments &arguments);
int hotkeyCommand(const Arguments &arguments);
int watchCommand(const Arguments &arguments);
int aliasCommand(const Arguments &arguments);
int labelsCommand(const Arguments &arguments);
int duCommand(const Arguments &arguments);
// The size lines of rkcore info (size_lines.cpp).
void printSizeLines(rk::RBFileSystemObject &object);
int typeCommand(const Arguments &arguments);
int psCommand(const Arguments &arguments);
int fullscreenCommand(const Arguments &arguments);
int adminOpenCommand(const Arguments &arguments);

} // namespace rkcli

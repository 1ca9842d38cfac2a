// The rkcore tool's commands: one function per command, each in its own file.
#pragma once

#include <QStringList>

#include <span>

namespace rk {
class RBFileSystemObject;
}

namespace rkcli {

// Runs a command with the arguments after its name; returns the exit status.
using CommandFunction = int (*)(const QStringList &arguments);

struct Command {
    const char *name = nullptr;
    const char *usage = nullptr;   // arguments, as shown in the tool's help
    const char *summary = nullptr; // one line
    CommandFunction run = nullptr;
    bool drawsImages = false; // needs a QGuiApplication (offscreen without a display)
};

// Every command, in the order the help lists them.
std::span<const Command> commands();

int permsCommand(const QStringList &arguments);
int sizeCommand(const QStringList &arguments);
int lsdateCommand(const QStringList &arguments);
int urlCommand(const QStringList &arguments);
int lsCommand(const QStringList &arguments);
int keychainCommand(const QStringList &arguments);
int infoCommand(const QStringList &arguments);
int iconCommand(const QStringList &arguments);
int hotkeyCommand(const QStringList &arguments);
int watchCommand(const QStringList &arguments);
int aliasCommand(const QStringList &arguments);
int labelsCommand(const QStringList &arguments);
int duCommand(const QStringList &arguments);
// The size lines of rkcore info (size_lines.cpp).
void printSizeLines(rk::RBFileSystemObject &object);
int typeCommand(const QStringList &arguments);
int psCommand(const QStringList &arguments);
int fullscreenCommand(const QStringList &arguments);
int adminOpenCommand(const QStringList &arguments);

} // namespace rkcli

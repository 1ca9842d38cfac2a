#include "commands.h"

#include <array>

namespace rkcli {

std::span<const Command> commands()
{
    static constexpr std::array table{
        Command{"perms", "755|-rwxr-xr-x|0o4755", "permission value, listing text or mode in every form", permsCommand},
        Command{"size", "BYTES", "a byte count as the size texts show it", sizeCommand},
        Command{"lsdate", "'Jan 15 10:30'", "a listing date read back into a time", lsdateCommand},
        Command{"url", "[--trace] [--append NAME] TEXT", "a URL text read into a record, and its text forms",
                urlCommand},
        Command{"ls", "[--all] [--match PATTERN] [--sort name|date|size|access] [--reverse] [--bytes] [--raw] [PATH]",
                "a folder's items as the framework's objects see them, with their kinds; hidden items only with "
                "--all; --match keeps names matching a case-insensitive extended pattern; --sort orders by "
                "attribute, smallest or oldest first, except name, which goes Z to A (--reverse turns each round)",
                lsCommand},
        Command{"info", "PATH",
                "one item's attributes: kind, target, permissions, dates, codes, flags, volume, and the sizes of "
                "its Get-Info panel (a folder is walked: Ctrl-C stops the walk and prints partial figures)",
                infoCommand},
        Command{"icon", "PATH OUT.png", "the icon the item shows (badges included), as a 128 x 128 PNG", iconCommand,
                true},
        Command{"keychain", "set|find|delete [--generic] [--show] HOST USER [PORT]",
                "a login password in the password store (read from standard input; find prints it with --show)",
                keychainCommand},
        Command{"hotkey", "listen [--count N] COMBO... | show KEYCODE MODIFIERS",
                "system-wide hot keys such as ctrl+shift+F1: print each press, or show a combination", hotkeyCommand},
        Command{"watch", "[--folder] PATH",
                "one line per change of a file (or, with --folder, of a folder) until Ctrl-C", watchCommand},
        Command{"alias", "make PATH OUT | resolve FILE", "write an alias record of an item; print where one resolves",
                aliasCommand},
        Command{"labels", "", "the eight Finder labels with their colours", labelsCommand},
        Command{"du", "[--apparent] [--one-file-system] [--threads N] PATH...",
                "bytes on disk of each path as du -s -B1 counts them (--apparent: as du -s -b does)", duCommand},
        Command{"type", "NAME...", "each name's type code from the data types file: 0 unknown, 1 image, 2 text",
                typeCommand},
        Command{"ps", "", "the processes the framework sees: pid, background-only, front, foreground, name", psCommand},
        Command{"fullscreen", "[--count N]",
                "prints each full-screen captured / released notification until Ctrl-C (or N of them)",
                fullscreenCommand},
        Command{"admin-open", "APP [DOCUMENT]",
                "opens an application (with a document) as administrator, and says what happened", adminOpenCommand},
    };
    return table;
}

} // namespace rkcli

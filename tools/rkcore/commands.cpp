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
        Command{"ls", "[--bytes] [--raw] [PATH]", "a folder's items as the framework reads them", lsCommand},
        Command{"keychain", "set|find|delete [--generic] [--show] HOST USER [PORT]",
                "a login password in the password store (read from standard input; find prints it with --show)",
                keychainCommand},
        Command{"watch", "[--folder] PATH",
                "one line per change of a file (or, with --folder, of a folder) until Ctrl-C", watchCommand},
        Command{"alias", "make PATH OUT | resolve FILE", "write an alias record of an item; print where one resolves",
                aliasCommand},
        Command{"labels", "", "the eight Finder labels with their colours", labelsCommand},
    };
    return table;
}

} // namespace rkcli

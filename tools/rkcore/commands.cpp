#include "commands.h"

namespace rkcli {

namespace {

constexpr const char *kTextExits = "0 done; 2 bad usage (unknown option, missing or extra argument, bad value)";

std::vector<Command> makeTable()
{
    using K = ArgumentKind;
    std::vector<Command> table;
    table.push_back({"perms",
                     "VALUE",
                     "a permission value, listing text or mode in every form",
                     "VALUE  1-3 octal digits: the framework's octal value (7 is the owner's digit);\n"
                     "       4 octal digits or 0o...: a mode word with setuid, setgid and sticky;\n"
                     "       9 or 10 characters: the listing form (rwxr-xr-x, -rwsr-xr-x)",
                     {},
                     1,
                     1,
                     K::Text,
                     true,
                     true,
                     kTextExits,
                     permsCommand});
    table.push_back({"size",
                     "BYTES",
                     "a byte count as the size texts show it",
                     "BYTES  a whole number of bytes, 0 to 18446744073709551615",
                     {},
                     1,
                     1,
                     K::Text,
                     true,
                     true,
                     kTextExits,
                     sizeCommand});
    table.push_back({"lsdate",
                     "'Mmm dd hh:mm' | 'Mmm dd  yyyy'",
                     "a listing date read back into a time",
                     "DATE  the date column of a long listing, e.g. 'Jan 15 10:30' or 'Jan  5  1999'; "
                     "impossible dates are refused",
                     {},
                     1,
                     1,
                     K::Text,
                     false,
                     true,
                     kTextExits,
                     lsdateCommand});
    table.push_back({"url",
                     "[--trace] [--append NAME] TEXT",
                     "a URL text read into a record, and its text forms",
                     "TEXT  an ftp, sftp, afp, smb or file URL; the port, when given, must be 1-65535",
                     {{"--trace", nullptr, "show the parsers' traces on standard error, nothing of the password"},
                      {"--append", "NAME", "join TEXT, '/' and NAME first"}},
                     1,
                     1,
                     K::Text,
                     false,
                     true,
                     kTextExits,
                     urlCommand});
    table.push_back({"ls",
                     "[OPTIONS] [PATH|file://URL...]",
                     "a folder's items as the framework's objects see them, with kinds",
                     "PATH  a folder or item (default '.'); several paths give one section each; a file:// URL is\n"
                     "      percent-decoded. Names are quoted as ls quotes them when standard output is a terminal.",
                     {{"--all", nullptr, "hidden items too (dot names, system names, invisible and .hidden items)"},
                      {"--match", "PATTERN", "only names matching a case-insensitive extended pattern", true},
                      {"--sort", "name|date|size|access", "sort as the framework does (name runs Z to A)"},
                      {"--reverse", nullptr, "turn the sort round"},
                      {"--bytes", nullptr, "sizes in bytes"},
                      {"--resolve-links", nullptr, "show a link's canonical target instead of what it holds"},
                      {"--raw", nullptr, "the record's dump instead of the table"}},
                     0,
                     -1,
                     K::Path,
                     false,
                     true,
                     "0 done; 1 a path could not be read or changed while being read; 2 bad usage",
                     lsCommand});
    table.push_back({"info",
                     "PATH",
                     "one item's attributes: kind, target, permissions, dates, codes, flags, volume and sizes",
                     "PATH  the item (a final link is not followed); a folder is walked for its sizes, and\n"
                     "      Ctrl-C stops the walk and prints the partial figures",
                     {},
                     1,
                     1,
                     K::Path,
                     false,
                     true,
                     "0 done; 1 the path cannot be read; 2 bad usage",
                     infoCommand});
    table.push_back({"icon",
                     "PATH OUT.png",
                     "the icon the item shows (badges included), as a 128 x 128 PNG",
                     "PATH    the item\nOUT.png where to write the image",
                     {},
                     2,
                     2,
                     K::Path,
                     false,
                     false,
                     "0 done; 1 no icon or the file cannot be written; 2 bad usage",
                     iconCommand,
                     true});
    table.push_back({"keychain",
                     "set|find|delete [--generic] [--show] HOST USER [PORT]",
                     "a login password in the password store",
                     "set     stores the password read from standard input (one line; a prompt without echo on a\n"
                     "        terminal) and reads it back; at most 256 bytes of UTF-8\n"
                     "find    says whether there is one (prints it with --show)\n"
                     "delete  removes it\n"
                     "HOST USER  the item's host and account; PORT 1-65535 (21 when left out)",
                     {{"--generic", nullptr, "a generic password (no port) instead of an internet password"},
                      {"--show", nullptr, "find: print the password"}},
                     3,
                     4,
                     K::Text,
                     false,
                     false,
                     "0 done; 1 not found; 2 bad usage; 3 no usable Secret Service or a locked collection",
                     keychainCommand});
    table.push_back({"hotkey",
                     "listen [--count N] COMBO... | show KEYCODE MODIFIERS",
                     "system-wide hot keys such as ctrl+shift+F1: print each press, or show a combination",
                     "COMBO      modifiers and an X key name joined by '+' (ctrl+shift+F1)\n"
                     "KEYCODE    a virtual key code (-32768 to 32767); MODIFIERS a 32-bit number",
                     {{"--count", "N", "listen: stop after N presses"}},
                     1,
                     -1,
                     K::Text,
                     true,
                     false,
                     "0 done; 1 nothing could be registered or no X11 display; 2 bad usage",
                     hotkeyCommand});
    table.push_back({"watch",
                     "[--folder] PATH",
                     "one line per change of a file (or folder) until Ctrl-C",
                     "PATH  the file (a folder with --folder)",
                     {{"--folder", nullptr, "watch a folder's contents"}},
                     1,
                     1,
                     K::Path,
                     false,
                     false,
                     "0 stopped by Ctrl-C; 1 cannot watch; 2 bad usage",
                     watchCommand});
    table.push_back({"alias",
                     "make PATH OUT | resolve FILE",
                     "write an alias record of an item; print where one resolves",
                     "make PATH OUT   writes the record of PATH to OUT\nresolve FILE    prints where a record points",
                     {},
                     2,
                     3,
                     K::Path,
                     false,
                     false,
                     "0 done; 1 the item or record is gone or broken; 2 bad usage",
                     aliasCommand});
    table.push_back({"labels",
                     "",
                     "the eight Finder labels with their colours",
                     "",
                     {},
                     0,
                     0,
                     K::Text,
                     false,
                     false,
                     kTextExits,
                     labelsCommand});
    table.push_back({"du",
                     "[--apparent] [--one-file-system] [--threads N] PATH...",
                     "bytes on disk of each path as du -s -B1 counts them",
                     "PATH  a file or folder, each counted on its own",
                     {{"--apparent", nullptr, "apparent sizes, as du -s -b counts them"},
                      {"--one-file-system", nullptr, "stay on each path's file system"},
                      {"--threads", "N", "walk with N threads (1-64)"}},
                     1,
                     -1,
                     K::Path,
                     false,
                     true,
                     "0 done; 1 a path or a folder in it could not be read; 2 bad usage",
                     duCommand});
    table.push_back({"type",
                     "NAME...",
                     "each name's type code from the data types file: 0 unknown, 1 image, 2 text",
                     "NAME  a file name",
                     {},
                     1,
                     -1,
                     K::Path,
                     false,
                     false,
                     kTextExits,
                     typeCommand});
    table.push_back({"ps",
                     "",
                     "the processes the framework sees: pid, background-only, front, foreground, name",
                     "",
                     {},
                     0,
                     0,
                     K::Text,
                     false,
                     false,
                     kTextExits,
                     psCommand});
    table.push_back({"fullscreen",
                     "[--count N]",
                     "prints each full-screen captured / released notification",
                     "",
                     {{"--count", "N", "stop after N notifications"}},
                     0,
                     0,
                     K::Text,
                     false,
                     false,
                     "0 done; 1 no X11 display; 2 bad usage",
                     fullscreenCommand});
    table.push_back({"admin-open",
                     "APP [DOCUMENT]",
                     "opens an application (with a document) as administrator",
                     "APP       the application\nDOCUMENT  a document for it to open",
                     {},
                     1,
                     2,
                     K::Path,
                     false,
                     false,
                     "0 opened; 1 refused or failed; 2 bad usage",
                     adminOpenCommand});
    return table;
}

} // namespace

std::span<const Command> commands()
{
    static const std::vector<Command> table = makeTable();
    return table;
}

const Command *findCommand(const QByteArray &name)
{
    for (const Command &command : commands())
        if (name == command.name) return &command;
    return nullptr;
}

} // namespace rkcli

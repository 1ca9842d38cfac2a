// The rkcore tool's argument parser and its shell quoting of names, over any
// bytes: the words of a command line (split at NUL bytes) parsed for a
// command with every kind of option, and the same bytes as a file name.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "../../tools/rkcore/commands.h"
#include "../../tools/rkcore/shell_quote.h"

namespace {

int noCommand(const rkcli::Arguments & /*arguments*/)
{
    return 0;
}

const rkcli::Command &testCommand()
{
    static const rkcli::Command command{"fuzz",
                                        "[OPTIONS] TEXT...",
                                        "a command with every kind of option",
                                        "",
                                        {{"--flag", nullptr, "a flag"},
                                         {"--value", "V", "a valued option"},
                                         {"--pattern", "P", "a free valued option", true}},
                                        1,
                                        3,
                                        rkcli::ArgumentKind::Text,
                                        true,
                                        true,
                                        "",
                                        noCommand};
    return command;
}

// A quoted name holds no control character (they are written as escapes) and
// no byte 0x80 or above outside valid UTF-8 runs: checked loosely, as no C0
// control and no DEL.
void checkQuoted(const QByteArray &name)
{
    const QByteArray quoted = rkcli::shellQuoted(name);
    if (quoted.isEmpty()) std::abort();
    for (const char c : quoted) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    rkcli::setErrorStream(nullptr); // usage errors are expected, and not worth a line each
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    QList<QByteArray> words = bytes.split('\0');
    bool help = false;
    const auto parsed = rkcli::parseArguments(testCommand(), words, help);
    if (parsed && !help) {
        if (parsed->count() < 1 || parsed->count() > 3) std::abort();
        if (parsed->positional().size() != parsed->positionalBytes().size()) std::abort();
    }
    if (!bytes.contains('\0')) checkQuoted(bytes);
    return 0;
}

#include "shell_quote.h"

#include <QString>
#include <QStringDecoder>

#include <cstring>

namespace rkcli {

namespace {

// Characters the shell treats specially anywhere in a word.
bool isShellSpecial(char c)
{
    return std::strchr(" \t!\"$&'()*;<=>?[\\^`|", c) != nullptr && c != '\0';
}

// Characters that read the same inside double quotes and need no escape
// there: a name made only of these (and a single quote) is shown "in double
// quotes" rather than with the '\'' dance.
bool isDoubleQuoteSafe(char c, bool first)
{
    if ((c == '#' || c == '~') && first) return true;
    if (static_cast<unsigned char>(c) >= 0x80) return true; // part of a UTF-8 sequence (checked apart)
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::strchr(" ']%+,-./:@_", c) != nullptr;
}

// One byte as a $'...' escape: \n, \t ... for the usual controls, else three
// octal digits.
QByteArray escaped(unsigned char c)
{
    switch (c) {
    case '\a': return "\\a";
    case '\b': return "\\b";
    case '\f': return "\\f";
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    case '\v': return "\\v";
    default: {
        char octal[5];
        octal[0] = '\\';
        octal[1] = static_cast<char>('0' + ((c >> 6U) & 7U));
        octal[2] = static_cast<char>('0' + ((c >> 3U) & 7U));
        octal[3] = static_cast<char>('0' + (c & 7U));
        octal[4] = '\0';
        return octal;
    }
    }
}

// For each byte, whether it must be written as an escape: control characters,
// DEL, and every byte of a sequence that is not valid UTF-8.
QByteArray escapeMask(const QByteArray &name)
{
    QByteArray mask(name.size(), '\0');
    qsizetype i = 0;
    while (i < name.size()) {
        const auto c = static_cast<unsigned char>(name.at(i));
        if (c < 0x80) {
            mask[i] = (c < 0x20 || c == 0x7f) ? '\1' : '\0';
            ++i;
            continue;
        }
        const qsizetype length = c >= 0xf0 ? 4 : c >= 0xe0 ? 3 : c >= 0xc0 ? 2 : 1;
        bool valid = length > 1 && c < 0xf5 && i + length <= name.size();
        if (valid) {
            QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
            const QString text = decoder.decode(name.mid(i, length));
            valid = !decoder.hasError() && text.size() >= 1 && !text.at(0).isNonCharacter() &&
                    text.at(0) != QChar::ReplacementCharacter;
            // C1 controls (U+0080 to U+009F) are not printable either.
            if (valid && text.size() == 1 && text.at(0).unicode() < 0xa0) valid = false;
        }
        if (!valid) {
            mask[i] = '\1';
            ++i;
            continue;
        }
        i += length;
    }
    return mask;
}

// Single quotes throughout; a single quote as '\'' and escapes as $'...'
// between closed quotes.
QByteArray singleQuoted(const QByteArray &name, const QByteArray &mask)
{
    QByteArray out("'");
    bool open = true;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char c = name.at(i);
        if (mask.at(i) != '\0') {
            if (open) out += '\'';
            open = false;
            out += "$'";
            while (i < name.size() && mask.at(i) != '\0')
                out += escaped(static_cast<unsigned char>(name.at(i++)));
            --i;
            out += '\'';
            continue;
        }
        if (c == '\'') {
            // Closed, escaped, reopened: after an escape the quote is closed
            // already, and the escape follows it directly.
            if (open) out += '\'';
            out += "\\''";
            open = true;
            continue;
        }
        if (!open) {
            out += '\'';
            open = true;
        }
        out += c;
    }
    if (open) out += '\'';
    return out;
}

} // namespace

QByteArray shellQuoted(const QByteArray &name)
{
    if (name.isEmpty()) return "''";
    const QByteArray mask = escapeMask(name);
    const bool hasEscapes = mask.contains('\1');
    bool needsQuotes = hasEscapes;
    bool doubleQuoteSafe = !hasEscapes;
    bool hasSingleQuote = false;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char c = name.at(i);
        if (isShellSpecial(c) || (i == 0 && (c == '#' || c == '~'))) needsQuotes = true;
        if (!isDoubleQuoteSafe(c, i == 0)) doubleQuoteSafe = false;
        if (c == '\'') hasSingleQuote = true;
    }
    if (!needsQuotes) return name;
    if (hasSingleQuote && doubleQuoteSafe) return '"' + name + '"';
    return singleQuoted(name, mask);
}

} // namespace rkcli

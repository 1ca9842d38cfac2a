// The one argument parser of every command, and the help it reads from the
// same table.

#include <QFile>

#include <algorithm>

#include "commands.h"

namespace rkcli {

namespace {

QString optionHelpName(const OptionSpec &option)
{
    QString text = QLatin1String(option.name);
    if (option.valueName != nullptr) text += QLatin1Char(' ') + QLatin1String(option.valueName);
    return text;
}

const OptionSpec *findOption(const std::vector<OptionSpec> &options, const QString &name)
{
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&name](const OptionSpec &option) { return name == QLatin1String(option.name); });
    return found == options.end() ? nullptr : &*found;
}

const OptionSpec kJsonOption{"--json", nullptr, "one JSON document with every field, for scripts"};

} // namespace

std::optional<Arguments> parseArguments(const Command &command, const QList<QByteArray> &words, bool &help)
{
    help = false;
    Arguments parsed;
    bool optionsEnded = false;
    std::vector<OptionSpec> options = command.options;
    if (command.json) options.push_back(kJsonOption);
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QByteArray &word = words.at(i);
        const QString text = QFile::decodeName(word);
        const bool looksLikeOption = !optionsEnded && word.size() >= 2 && word.startsWith('-');
        if (!looksLikeOption) {
            parsed.positional_ << text;
            parsed.positionalBytes_ << word;
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        if (word == "--help" || word == "-h") {
            help = true;
            return Arguments();
        }
        const qsizetype equals = text.indexOf(QLatin1Char('='));
        const QString name = equals > 0 && text.startsWith(QLatin1String("--")) ? text.left(equals) : text;
        const OptionSpec *option = findOption(options, name);
        if (option == nullptr) {
            if (command.dashArguments && !word.startsWith("--")) {
                parsed.positional_ << text;
                parsed.positionalBytes_ << word;
                continue;
            }
            usageError(QStringLiteral("unknown option '%1'").arg(name));
            return std::nullopt;
        }
        if (option->valueName == nullptr) {
            if (equals > 0) {
                usageError(QStringLiteral("option '%1' takes no value").arg(name));
                return std::nullopt;
            }
            parsed.given_ << name;
            continue;
        }
        QString value;
        if (equals > 0) {
            value = text.mid(equals + 1);
        } else if (i + 1 < words.size()) {
            value = QFile::decodeName(words.at(++i));
        } else {
            usageError(QStringLiteral("option '%1' needs a value").arg(name));
            return std::nullopt;
        }
        if (!option->freeValue && !checkText(QStringLiteral("the value of '%1'").arg(name), value)) return std::nullopt;
        parsed.given_ << name;
        parsed.values_.insert(name, value);
    }
    const auto count = parsed.positional_.size();
    if (count < command.minArguments) {
        usageError(count == 0 ? QStringLiteral("missing argument")
                              : QStringLiteral("missing argument after '%1'").arg(parsed.positional_.last()));
        return std::nullopt;
    }
    if (command.maxArguments >= 0 && count > command.maxArguments) {
        usageError(QStringLiteral("extra argument '%1'").arg(parsed.positional_.at(command.maxArguments)));
        return std::nullopt;
    }
    if (command.kind == ArgumentKind::Text) {
        for (const QString &value : parsed.positional_)
            if (!checkText(QStringLiteral("argument"), value)) return std::nullopt;
    }
    return parsed;
}

void printCommandHelp(const Command &command)
{
    printLine(
        QStringLiteral("Usage: rkcore %1 %2").arg(QLatin1String(command.name), QLatin1String(command.usage)).trimmed());
    printLine(QString());
    printLine(QLatin1String(command.summary));
    if (*command.details != '\0') {
        printLine(QString());
        printLine(QStringLiteral("Arguments:"));
        for (const QString &line : QString::fromUtf8(command.details).split(QLatin1Char('\n')))
            printLine(QStringLiteral("  ") + line);
    }
    std::vector<OptionSpec> options = command.options;
    if (command.json) options.push_back(kJsonOption);
    options.push_back({"--help", nullptr, "this help"});
    printLine(QString());
    printLine(QStringLiteral("Options:"));
    for (const OptionSpec &option : options)
        printLine(QStringLiteral("  %1 %2").arg(optionHelpName(option), -28).arg(QLatin1String(option.help)));
    printLine(QString());
    printLine(QStringLiteral("Exit status: %1").arg(QLatin1String(command.exits)));
}

} // namespace rkcli

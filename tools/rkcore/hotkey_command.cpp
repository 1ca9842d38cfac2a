// rkcore hotkey listen [--count N] COMBO...   registers system-wide hot keys and
//                                            prints a line for each press
// rkcore hotkey show KEYCODE MODIFIERS       the display text and validity of a combination
//
// A combination is written as users write them: modifiers and a key joined by
// '+', such as ctrl+shift+F1 or alt+super+a. Modifiers: ctrl (also control,
// cmd, command: the command bit), alt (option), super (win: the control bit),
// shift. Keys: the X key names (F1, a, 1, Return, space, Left, KP_Enter ...).

#include <rkcore/HotKeyCenter.h>
#include <rkcore/KeyCombo.h>
#include <rkcore/VirtualKeyCodes.h>

#include <QCoreApplication>
#include <QObject>

#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "cli.h"
#include "commands.h"
#include "hotkey_listener.h"

namespace rkcli {

namespace {

struct ModifierName {
    const char *name;
    int32_t bit;
};
constexpr ModifierName kModifierNames[] = {
    {"ctrl", rk::KeyCombo::kCmdKey},      {"control", rk::KeyCombo::kCmdKey}, {"cmd", rk::KeyCombo::kCmdKey},
    {"command", rk::KeyCombo::kCmdKey},   {"alt", rk::KeyCombo::kOptionKey},  {"option", rk::KeyCombo::kOptionKey},
    {"super", rk::KeyCombo::kControlKey}, {"win", rk::KeyCombo::kControlKey}, {"shift", rk::KeyCombo::kShiftKey},
};

// A combination text read into a KeyCombo, or a usage error in `error`.
std::shared_ptr<rk::KeyCombo> parseCombination(const QString &text, QString &error)
{
    const QStringList parts = text.split(QLatin1Char('+'));
    if (text.isEmpty() || parts.contains(QString())) {
        error = QStringLiteral("malformed combination: '%1' (write it as ctrl+shift+F1)").arg(text);
        return nullptr;
    }
    int32_t modifiers = 0;
    for (qsizetype i = 0; i + 1 < parts.size(); ++i) {
        int32_t bit = 0;
        for (const ModifierName &modifier : kModifierNames) {
            if (parts[i].compare(QLatin1String(modifier.name), Qt::CaseInsensitive) == 0) bit = modifier.bit;
        }
        if (bit == 0) {
            error = QStringLiteral("unknown modifier '%1' in '%2' (ctrl, alt, super, shift)").arg(parts[i], text);
            return nullptr;
        }
        modifiers |= bit;
    }
    const std::optional<int16_t> keyCode = rk::virtualKeyCodeForKeyName(parts.last());
    if (!keyCode) {
        error =
            QStringLiteral("unknown key '%1' in '%2' (X key names: F1, a, Return, space ...)").arg(parts.last(), text);
        return nullptr;
    }
    return rk::KeyCombo::keyComboWithKeyCode(*keyCode, modifiers);
}

// The display text as a text field shows it: the U+0000 units are invisible.
QString visible(const QString &display)
{
    QString text = display;
    return text.remove(QChar(u'\0'));
}

QString reason(int32_t status)
{
    switch (status) {
    case rk::kEventHotKeyExistsErr: return QStringLiteral("held by another program");
    case rk::kEventHotKeyInvalidErr: return QStringLiteral("the keyboard has no such key");
    case rk::kHotKeyUnsupportedErr: return QStringLiteral("no X11 display (DISPLAY unset or unreachable)");
    default: return QStringLiteral("error %1").arg(status);
    }
}

int listen(const QStringList &combos, const QString &countText)
{
    int remaining = 0; // 0: until interrupted
    if (!countText.isNull()) {
        const auto count = parseInteger(QStringLiteral("--count"), countText, 1, INT32_MAX);
        if (!count) return kExitUsage;
        remaining = static_cast<int>(*count);
    }
    if (combos.isEmpty()) return usageError(QStringLiteral("listen needs at least one combination"));

    std::vector<std::shared_ptr<rk::KeyCombo>> parsed;
    for (const QString &text : combos) {
        QString error;
        auto combo = parseCombination(text, error);
        if (!combo) return usageError(error);
        parsed.push_back(std::move(combo));
    }
    if (!rk::HotKeyCenter::_systemSupportsHotKeys())
        return failure(QStringLiteral("cannot listen: %1").arg(reason(rk::kHotKeyUnsupportedErr)));

    rk::HotKeyCenter &center = rk::HotKeyCenter::sharedCenter();
    std::vector<std::unique_ptr<Listener>> listeners;
    int registered = 0;
    for (size_t i = 0; i < parsed.size(); ++i) {
        const QString &text = combos.at(static_cast<qsizetype>(i));
        const QString display = visible(parsed[i]->userDisplayRep());
        if (!parsed[i]->isValid()) {
            (void)failure(QStringLiteral("%1 is not registered: a key other than F1-F8, F12 and F13 needs "
                                         "a modifier")
                              .arg(text));
            continue;
        }
        listeners.push_back(std::make_unique<Listener>(text, display, &remaining));
        if (center.addHotKey(text, parsed[i], listeners.back().get(), "pressed")) {
            printLine(QStringLiteral("listening: %1 (%2)").arg(text, display));
            ++registered;
        } else {
            (void)failure(QStringLiteral("%1 is not registered: %2")
                              .arg(text, reason(center.hotKeyList().value(text)->lastStatus())));
        }
    }
    (void)std::fflush(stdout);
    if (registered == 0) return kExitFailure;
    return QCoreApplication::exec() == 0 ? 0 : kExitFailure;
}

// A decimal or 0x-hexadecimal number in [low, high]; overflow is refused.
bool parseNumber(const QString &text, int64_t low, int64_t high, int64_t &value)
{
    bool ok = false;
    const bool hex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const QString digits = hex ? text.mid(2) : text;
    if (digits.isEmpty() || digits.startsWith(QLatin1Char('+'))) return false;
    value = hex ? digits.toLongLong(&ok, 16) : digits.toLongLong(&ok, 10);
    return ok && value >= low && value <= high;
}

int show(const QStringList &arguments)
{
    if (arguments.size() != 2) return usageError(QStringLiteral("show takes KEYCODE MODIFIERS"));
    int64_t keyCode = 0;
    int64_t modifiers = 0;
    if (!parseNumber(arguments[0], INT16_MIN, INT16_MAX, keyCode))
        return usageError(QStringLiteral("not a 16-bit key code: '%1'").arg(arguments[0]));
    if (!parseNumber(arguments[1], INT32_MIN, UINT32_MAX, modifiers))
        return usageError(QStringLiteral("not 32-bit modifiers: '%1'").arg(arguments[1]));
    const auto combo =
        rk::KeyCombo::keyComboWithKeyCode(static_cast<int16_t>(keyCode), static_cast<int32_t>(modifiers));
    const QString display = combo->userDisplayRep();
    printField(QStringLiteral("display"), visible(display));
    QString escaped = display;
    printField(QStringLiteral("escaped"), escaped.replace(QChar(u'\0'), QLatin1String("\\0")));
    printField(QStringLiteral("valid"), combo->isValid() ? QStringLiteral("yes") : QStringLiteral("no"));
    const QString keyName = rk::keyNameForVirtualKeyCode(combo->keyCode());
    printField(QStringLiteral("X key"), keyName.isNull() ? QStringLiteral("(none)") : keyName);
    return 0;
}

} // namespace

int hotkeyCommand(const Arguments &arguments)
{
    const QString &sub = arguments.at(0);
    const QStringList rest = arguments.positional().mid(1);
    if (sub == QLatin1String("listen")) return listen(rest, arguments.value("--count"));
    if (arguments.has("--count")) return usageError(QStringLiteral("--count goes with listen only"));
    if (sub == QLatin1String("show")) return show(rest);
    return usageError(QStringLiteral("unknown subcommand '%1' (listen or show)").arg(sub));
}

} // namespace rkcli

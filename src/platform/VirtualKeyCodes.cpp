#include <rkcore/VirtualKeyCodes.h>

#include <array>

namespace rk {

namespace {

struct KeyRow {
    int16_t keyCode;
    uint32_t keysym;
    const char *name; // the X key-symbol name
};

// Virtual key code -> X key symbol. Positions follow the US (ANSI) layout the
// virtual codes were defined on; the Help key sits where PC keyboards put Insert.
constexpr std::array<KeyRow, 109> kKeys{{
    {0, 0x61, "a"},
    {1, 0x73, "s"},
    {2, 0x64, "d"},
    {3, 0x66, "f"},
    {4, 0x68, "h"},
    {5, 0x67, "g"},
    {6, 0x7a, "z"},
    {7, 0x78, "x"},
    {8, 0x63, "c"},
    {9, 0x76, "v"},
    {11, 0x62, "b"},
    {12, 0x71, "q"},
    {13, 0x77, "w"},
    {14, 0x65, "e"},
    {15, 0x72, "r"},
    {16, 0x79, "y"},
    {17, 0x74, "t"},
    {18, 0x31, "1"},
    {19, 0x32, "2"},
    {20, 0x33, "3"},
    {21, 0x34, "4"},
    {22, 0x36, "6"},
    {23, 0x35, "5"},
    {24, 0x3d, "equal"},
    {25, 0x39, "9"},
    {26, 0x37, "7"},
    {27, 0x2d, "minus"},
    {28, 0x38, "8"},
    {29, 0x30, "0"},
    {30, 0x5d, "bracketright"},
    {31, 0x6f, "o"},
    {32, 0x75, "u"},
    {33, 0x5b, "bracketleft"},
    {34, 0x69, "i"},
    {35, 0x70, "p"},
    {36, 0xff0d, "Return"},
    {37, 0x6c, "l"},
    {38, 0x6a, "j"},
    {39, 0x27, "apostrophe"},
    {40, 0x6b, "k"},
    {41, 0x3b, "semicolon"},
    {42, 0x5c, "backslash"},
    {43, 0x2c, "comma"},
    {44, 0x2f, "slash"},
    {45, 0x6e, "n"},
    {46, 0x6d, "m"},
    {47, 0x2e, "period"},
    {48, 0xff09, "Tab"},
    {49, 0x20, "space"},
    {50, 0x60, "grave"},
    {51, 0xff08, "BackSpace"},
    {53, 0xff1b, "Escape"},
    {64, 0xffce, "F17"},
    {65, 0xffae, "KP_Decimal"},
    {67, 0xffaa, "KP_Multiply"},
    {69, 0xffab, "KP_Add"},
    {71, 0xff0b, "Clear"},
    {72, 0x1008ff13, "XF86AudioRaiseVolume"},
    {73, 0x1008ff11, "XF86AudioLowerVolume"},
    {74, 0x1008ff12, "XF86AudioMute"},
    {75, 0xffaf, "KP_Divide"},
    {76, 0xff8d, "KP_Enter"},
    {78, 0xffad, "KP_Subtract"},
    {79, 0xffcf, "F18"},
    {80, 0xffd0, "F19"},
    {81, 0xffbd, "KP_Equal"},
    {82, 0xffb0, "KP_0"},
    {83, 0xffb1, "KP_1"},
    {84, 0xffb2, "KP_2"},
    {85, 0xffb3, "KP_3"},
    {86, 0xffb4, "KP_4"},
    {87, 0xffb5, "KP_5"},
    {88, 0xffb6, "KP_6"},
    {89, 0xffb7, "KP_7"},
    {90, 0xffd1, "F20"},
    {91, 0xffb8, "KP_8"},
    {92, 0xffb9, "KP_9"},
    {93, 0xa5, "yen"},
    {94, 0x5f, "underscore"},
    {95, 0xffac, "KP_Separator"},
    {96, 0xffc2, "F5"},
    {97, 0xffc3, "F6"},
    {98, 0xffc4, "F7"},
    {99, 0xffc0, "F3"},
    {100, 0xffc5, "F8"},
    {101, 0xffc6, "F9"},
    {102, 0xff2f, "Eisu_toggle"},
    {103, 0xffc8, "F11"},
    {104, 0xff27, "Hiragana_Katakana"},
    {105, 0xffca, "F13"},
    {106, 0xffcd, "F16"},
    {107, 0xffcb, "F14"},
    {109, 0xffc7, "F10"},
    {110, 0xff67, "Menu"},
    {111, 0xffc9, "F12"},
    {113, 0xffcc, "F15"},
    {114, 0xff63, "Insert"},
    {115, 0xff50, "Home"},
    {116, 0xff55, "Prior"},
    {117, 0xffff, "Delete"},
    {118, 0xffc1, "F4"},
    {119, 0xff57, "End"},
    {120, 0xffbf, "F2"},
    {121, 0xff56, "Next"},
    {122, 0xffbe, "F1"},
    {123, 0xff51, "Left"},
    {124, 0xff53, "Right"},
    {125, 0xff54, "Down"},
    {126, 0xff52, "Up"},
}};

struct Alias {
    const char *name;
    int16_t keyCode;
};
constexpr std::array<Alias, 10> kAliases{{
    {"esc", 53},
    {"enter", 36},
    {"pageup", 116},
    {"page_up", 116},
    {"pagedown", 121},
    {"page_down", 121},
    {"backspace", 51},
    {"del", 117},
    {"ins", 114},
    {"help", 114},
}};

} // namespace

std::optional<uint32_t> x11KeysymForVirtualKeyCode(int16_t keyCode)
{
    for (const KeyRow &row : kKeys) {
        if (row.keyCode == keyCode) return row.keysym;
    }
    return std::nullopt;
}

std::optional<int16_t> virtualKeyCodeForX11Keysym(uint32_t keysym)
{
    if (keysym >= 0x41 && keysym <= 0x5a) keysym += 0x20; // XK_A..XK_Z: the same key as XK_a..XK_z
    for (const KeyRow &row : kKeys) {
        if (row.keysym == keysym) return row.keyCode;
    }
    return std::nullopt;
}

std::optional<int16_t> virtualKeyCodeForKeyName(const QString &name)
{
    for (const KeyRow &row : kKeys) {
        if (name.compare(QLatin1String(row.name), Qt::CaseInsensitive) == 0) return row.keyCode;
    }
    for (const Alias &alias : kAliases) {
        if (name.compare(QLatin1String(alias.name), Qt::CaseInsensitive) == 0) return alias.keyCode;
    }
    return std::nullopt;
}

QString keyNameForVirtualKeyCode(int16_t keyCode)
{
    for (const KeyRow &row : kKeys) {
        if (row.keyCode == keyCode) return QString::fromLatin1(row.name);
    }
    return {};
}

} // namespace rk

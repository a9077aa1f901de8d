#include "key_names.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <iterator>

namespace brisko::scriptapi {
namespace {

struct KeyName {
    const char* name;
    uint16_t code;
};

constexpr KeyName kKeys[] = {
    {"a", KEY_A},
    {"b", KEY_B},
    {"c", KEY_C},
    {"d", KEY_D},
    {"e", KEY_E},
    {"f", KEY_F},
    {"g", KEY_G},
    {"h", KEY_H},
    {"i", KEY_I},
    {"j", KEY_J},
    {"k", KEY_K},
    {"l", KEY_L},
    {"m", KEY_M},
    {"n", KEY_N},
    {"o", KEY_O},
    {"p", KEY_P},
    {"q", KEY_Q},
    {"r", KEY_R},
    {"s", KEY_S},
    {"t", KEY_T},
    {"u", KEY_U},
    {"v", KEY_V},
    {"w", KEY_W},
    {"x", KEY_X},
    {"y", KEY_Y},
    {"z", KEY_Z},
    {"0", KEY_0},
    {"1", KEY_1},
    {"2", KEY_2},
    {"3", KEY_3},
    {"4", KEY_4},
    {"5", KEY_5},
    {"6", KEY_6},
    {"7", KEY_7},
    {"8", KEY_8},
    {"9", KEY_9},
    {"F1", KEY_F1},
    {"F2", KEY_F2},
    {"F3", KEY_F3},
    {"F4", KEY_F4},
    {"F5", KEY_F5},
    {"F6", KEY_F6},
    {"F7", KEY_F7},
    {"F8", KEY_F8},
    {"F9", KEY_F9},
    {"F10", KEY_F10},
    {"F11", KEY_F11},
    {"F12", KEY_F12},
    {"Return", KEY_ENTER},
    {"KP_Enter", KEY_KPENTER},
    {"BackSpace", KEY_BACKSPACE},
    {"Tab", KEY_TAB},
    {"Escape", KEY_ESC},
    {"space", KEY_SPACE},
    {"Delete", KEY_DELETE},
    {"Insert", KEY_INSERT},
    {"Home", KEY_HOME},
    {"End", KEY_END},
    {"Prior", KEY_PAGEUP},
    {"Page_Up", KEY_PAGEUP},
    {"Next", KEY_PAGEDOWN},
    {"Page_Down", KEY_PAGEDOWN},
    {"Left", KEY_LEFT},
    {"Right", KEY_RIGHT},
    {"Up", KEY_UP},
    {"Down", KEY_DOWN},
    {"Shift_L", KEY_LEFTSHIFT},
    {"Shift_R", KEY_RIGHTSHIFT},
    {"Control_L", KEY_LEFTCTRL},
    {"Control_R", KEY_RIGHTCTRL},
    {"Alt_L", KEY_LEFTALT},
    {"Alt_R", KEY_RIGHTALT},
    {"Super_L", KEY_LEFTMETA},
    {"Super_R", KEY_RIGHTMETA},
    {"Caps_Lock", KEY_CAPSLOCK},
    {"Menu", KEY_COMPOSE},
    {"Print", KEY_SYSRQ},
    {"minus", KEY_MINUS},
    {"equal", KEY_EQUAL},
    {"bracketleft", KEY_LEFTBRACE},
    {"bracketright", KEY_RIGHTBRACE},
    {"backslash", KEY_BACKSLASH},
    {"semicolon", KEY_SEMICOLON},
    {"apostrophe", KEY_APOSTROPHE},
    {"grave", KEY_GRAVE},
    {"comma", KEY_COMMA},
    {"period", KEY_DOT},
    {"slash", KEY_SLASH},
    {"XF86AudioRaiseVolume", KEY_VOLUMEUP},
    {"XF86AudioLowerVolume", KEY_VOLUMEDOWN},
    {"XF86AudioMute", KEY_MUTE},
    {"XF86AudioPlay", KEY_PLAYPAUSE},
    {"XF86AudioNext", KEY_NEXTSONG},
    {"XF86AudioPrev", KEY_PREVIOUSSONG},
    {"XF86PowerOff", KEY_POWER},
    {"XF86Back", KEY_BACK},
    {"XF86HomePage", KEY_HOMEPAGE},
    {"XF86Search", KEY_SEARCH},
};

} // namespace

std::optional<uint16_t> linuxKeyCode(const QString& name) {
    // X names the upper-case letter's keysym, but the key is the same one.
    const QString lookup = name.size() == 1 && name[0] >= u'A' && name[0] <= u'Z' ? name.toLower() : name;
    const auto found = std::find_if(std::begin(kKeys), std::end(kKeys),
                                    [&](const KeyName& key) { return lookup == QLatin1String(key.name); });
    if (found == std::end(kKeys)) return std::nullopt;
    return found->code;
}

QList<uint16_t> allLinuxKeyCodes() {
    QList<uint16_t> codes;
    for (const KeyName& key : kKeys)
        if (!codes.contains(key.code)) codes << key.code;
    return codes;
}

} // namespace brisko::scriptapi

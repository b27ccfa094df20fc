// SPDX-License-Identifier: Apache-2.0
#include "events/KeyTable.h"

#include <KestovaPlatform/ASCIICase.h>
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/VirtualKeys.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>
#include <array>
#include <vector>

namespace kestova {
namespace {

constexpr KeyTableRow kRows[] = {
    {0, "A", XKB_KEY_a, "AC01"},
    {1, "S", XKB_KEY_s, "AC02"},
    {2, "D", XKB_KEY_d, "AC03"},
    {3, "F", XKB_KEY_f, "AC04"},
    {4, "H", XKB_KEY_h, "AC06"},
    {5, "G", XKB_KEY_g, "AC05"},
    {6, "Z", XKB_KEY_z, "AB01"},
    {7, "X", XKB_KEY_x, "AB02"},
    {8, "C", XKB_KEY_c, "AB03"},
    {9, "V", XKB_KEY_v, "AB04"},
    {11, "B", XKB_KEY_b, "AB05"},
    {12, "Q", XKB_KEY_q, "AD01"},
    {13, "W", XKB_KEY_w, "AD02"},
    {14, "E", XKB_KEY_e, "AD03"},
    {15, "R", XKB_KEY_r, "AD04"},
    {16, "Y", XKB_KEY_y, "AD06"},
    {17, "T", XKB_KEY_t, "AD05"},
    {31, "O", XKB_KEY_o, "AD09"},
    {32, "U", XKB_KEY_u, "AD07"},
    {34, "I", XKB_KEY_i, "AD08"},
    {35, "P", XKB_KEY_p, "AD10"},
    {37, "L", XKB_KEY_l, "AC09"},
    {38, "J", XKB_KEY_j, "AC07"},
    {40, "K", XKB_KEY_k, "AC08"},
    {45, "N", XKB_KEY_n, "AB06"},
    {46, "M", XKB_KEY_m, "AB07"},
    {18, "1", XKB_KEY_1, "AE01"},
    {19, "2", XKB_KEY_2, "AE02"},
    {20, "3", XKB_KEY_3, "AE03"},
    {21, "4", XKB_KEY_4, "AE04"},
    {23, "5", XKB_KEY_5, "AE05"},
    {22, "6", XKB_KEY_6, "AE06"},
    {26, "7", XKB_KEY_7, "AE07"},
    {28, "8", XKB_KEY_8, "AE08"},
    {25, "9", XKB_KEY_9, "AE09"},
    {29, "0", XKB_KEY_0, "AE10"},
    {24, "=", XKB_KEY_equal, "AE12"},
    {27, "-", XKB_KEY_minus, "AE11"},
    {30, "]", XKB_KEY_bracketright, "AD12"},
    {33, "[", XKB_KEY_bracketleft, "AD11"},
    {39, "'", XKB_KEY_apostrophe, "AC11"},
    {41, ";", XKB_KEY_semicolon, "AC10"},
    {42, "\\", XKB_KEY_backslash, "BKSL"},
    {43, ",", XKB_KEY_comma, "AB08"},
    {44, "/", XKB_KEY_slash, "AB10"},
    {47, ".", XKB_KEY_period, "AB09"},
    {50, "`", XKB_KEY_grave, "TLDE"},
    {10, "Section", XKB_KEY_section, "LSGT"},
    {93, "Yen", XKB_KEY_yen, "AE13"},
    {94, "Underscore", XKB_KEY_underscore, "AB11"},
    {36, "Return", XKB_KEY_Return, "RTRN"},
    {48, "Tab", XKB_KEY_Tab, "TAB"},
    {49, "Space", XKB_KEY_space, "SPCE"},
    {51, "Backspace", XKB_KEY_BackSpace, "BKSP"},
    {53, "Escape", XKB_KEY_Escape, "ESC"},
    {102, "Eisu", XKB_KEY_Eisu_toggle, "HJCV"},
    {104, "Kana", XKB_KEY_Hiragana_Katakana, "HNGL"},
    {110, "Menu", XKB_KEY_Menu, "COMP"},
    {114, "Insert", XKB_KEY_Insert, "INS"},
    {115, "Home", XKB_KEY_Home, "HOME"},
    {116, "PageUp", XKB_KEY_Prior, "PGUP"},
    {117, "Delete", XKB_KEY_Delete, "DELE"},
    {119, "End", XKB_KEY_End, "END"},
    {121, "PageDown", XKB_KEY_Next, "PGDN"},
    {123, "Left", XKB_KEY_Left, "LEFT"},
    {124, "Right", XKB_KEY_Right, "RGHT"},
    {125, "Down", XKB_KEY_Down, "DOWN"},
    {126, "Up", XKB_KEY_Up, "UP"},
    {72, "VolumeUp", XKB_KEY_XF86AudioRaiseVolume, "VOL+"},
    {73, "VolumeDown", XKB_KEY_XF86AudioLowerVolume, "VOL-"},
    {74, "Mute", XKB_KEY_XF86AudioMute, "MUTE"},
    {122, "F1", XKB_KEY_F1, "FK01"},
    {120, "F2", XKB_KEY_F2, "FK02"},
    {99, "F3", XKB_KEY_F3, "FK03"},
    {118, "F4", XKB_KEY_F4, "FK04"},
    {96, "F5", XKB_KEY_F5, "FK05"},
    {97, "F6", XKB_KEY_F6, "FK06"},
    {98, "F7", XKB_KEY_F7, "FK07"},
    {100, "F8", XKB_KEY_F8, "FK08"},
    {101, "F9", XKB_KEY_F9, "FK09"},
    {109, "F10", XKB_KEY_F10, "FK10"},
    {103, "F11", XKB_KEY_F11, "FK11"},
    {111, "F12", XKB_KEY_F12, "FK12"},
    {105, "F13", XKB_KEY_F13, "FK13"},
    {107, "F14", XKB_KEY_F14, "FK14"},
    {113, "F15", XKB_KEY_F15, "FK15"},
    {106, "F16", XKB_KEY_F16, "FK16"},
    {64, "F17", XKB_KEY_F17, "FK17"},
    {79, "F18", XKB_KEY_F18, "FK18"},
    {80, "F19", XKB_KEY_F19, "FK19"},
    {90, "F20", XKB_KEY_F20, "FK20"},
    {82, "KP0", XKB_KEY_KP_0, "KP0"},
    {83, "KP1", XKB_KEY_KP_1, "KP1"},
    {84, "KP2", XKB_KEY_KP_2, "KP2"},
    {85, "KP3", XKB_KEY_KP_3, "KP3"},
    {86, "KP4", XKB_KEY_KP_4, "KP4"},
    {87, "KP5", XKB_KEY_KP_5, "KP5"},
    {88, "KP6", XKB_KEY_KP_6, "KP6"},
    {89, "KP7", XKB_KEY_KP_7, "KP7"},
    {91, "KP8", XKB_KEY_KP_8, "KP8"},
    {92, "KP9", XKB_KEY_KP_9, "KP9"},
    {65, "KPDecimal", XKB_KEY_KP_Decimal, "KPDL"},
    {67, "KPMultiply", XKB_KEY_KP_Multiply, "KPMU"},
    {69, "KPAdd", XKB_KEY_KP_Add, "KPAD"},
    {75, "KPDivide", XKB_KEY_KP_Divide, "KPDV"},
    {76, "KPEnter", XKB_KEY_KP_Enter, "KPEN"},
    {78, "KPSubtract", XKB_KEY_KP_Subtract, "KPSU"},
    {81, "KPEqual", XKB_KEY_KP_Equal, "KPEQ"},
    {95, "KPComma", XKB_KEY_KP_Separator, "JPCM"},
};

/// One more than the largest key code.
constexpr std::size_t kCodes = 127;

/// The rows by their codes, null where there is none.
constexpr auto rowsByCode() {
  std::array<const KeyTableRow*, kCodes> rows{};
  for (const KeyTableRow& row : kRows) {
    rows.at(row.code) = &row;
  }
  return rows;
}

constexpr auto kRowsByCode = rowsByCode();

}  // namespace

std::span<const KeyTableRow> keyTable() { return kRows; }

const KeyTableRow* keyTableRow(std::uint32_t code) {
  return code < kCodes ? kRowsByCode[code] : nullptr;
}

std::string combinationText(const EventHotKey& hotKey) {
  const auto named = [&](std::uint32_t modifier, const char* name) {
    return (hotKey.modifiers & modifier) != 0 ? name : "";
  };
  return std::string(named(controlKey, "Control+")) + named(optionKey, "Alt+") +
         named(shiftKey, "Shift+") + named(cmdKey, "Super+") +
         std::string(VirtualKeyName(hotKey.keyCode));
}

std::span<const VirtualKey> VirtualKeys() {
  static const auto& keys = *new std::vector<VirtualKey>([] {
    std::vector<VirtualKey> all;
    for (const KeyTableRow& row : kRows) {
      all.push_back({row.code, row.name});
    }
    return all;
  }());
  return keys;
}

std::optional<std::uint16_t> VirtualKeyCodeForName(std::string_view name) {
  const auto* found = std::find_if(std::begin(kRows), std::end(kRows), [&](const KeyTableRow& row) {
    return isSameButForCase(row.name, name);
  });
  return found == std::end(kRows) ? std::nullopt : std::optional(found->code);
}

std::string_view VirtualKeyName(std::uint32_t code) {
  const KeyTableRow* row = keyTableRow(code);
  return row == nullptr ? std::string_view() : row->name;
}

}  // namespace kestova

// SPDX-License-Identifier: Apache-2.0
#include "events/XKeyboard.h"

#include <KestovaPlatform/HotKeyEvents.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include "events/KeyTable.h"
#include "events/XProtocol.h"

#include <algorithm>
#include <bitset>
#include <iterator>
#include <unordered_map>

namespace kestova {
namespace {

struct KeymapRelease {
  void operator()(xkb_context* context) const { xkb_context_unref(context); }
  void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
};
using Keymap = std::unique_ptr<xkb_keymap, KeymapRelease>;

Keymap readKeymap(xcb_connection_t* connection) {
  const std::unique_ptr<xkb_context, KeymapRelease> context(
      xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
  const std::int32_t device = xkb_x11_get_core_keyboard_device_id(connection);
  if (context == nullptr || device < 0) {
    return nullptr;
  }
  return Keymap(xkb_x11_keymap_new_from_device(context.get(), connection, device,
                                               XKB_KEYMAP_COMPILE_NO_FLAGS));
}

/// The sums of any of these bits, each once.
std::vector<std::uint16_t> sumsOf(std::initializer_list<std::uint16_t> bits) {
  std::vector<std::uint16_t> sums{0};
  for (const std::uint16_t bit : bits) {
    const std::vector<std::uint16_t> without = sums;
    std::transform(without.begin(), without.end(), std::back_inserter(sums),
                   [bit](std::uint16_t sum) { return static_cast<std::uint16_t>(sum | bit); });
  }
  std::sort(sums.begin(), sums.end());
  sums.erase(std::unique(sums.begin(), sums.end()), sums.end());
  return sums;
}

}  // namespace

/// Reads one keyboard out of its keymap.
class XKeyboard::Reader {
 public:
  Reader(xcb_connection_t* connection, xkb_keymap* keymap)
      : connection_(connection), keymap_(keymap) {
    collectBaseSymbols();
  }

  bool read(XKeyboard& keyboard) {
    for (const KeyTableRow& row : keyTable()) {
      keyboard.keys_.at(row.code) = takeKey(row);
    }
    return readModifiers(keyboard.modifiers_);
  }

 private:
  /// Symbols of an earlier layout win over those of a later one.
  void collectBaseSymbols() {
    const xkb_layout_index_t layouts = xkb_keymap_num_layouts(keymap_);
    for (xkb_layout_index_t layout = 0; layout < layouts; ++layout) {
      for (xkb_keycode_t key = firstKey(); key <= lastKey(); ++key) {
        if (const xkb_keysym_t symbol = baseSymbol(key, layout); symbol != XKB_KEY_NoSymbol) {
          keysBySymbol_.emplace(symbol, key);
        }
      }
    }
  }

  /// Keys of the core protocol have eight bits.
  xkb_keycode_t firstKey() const { return std::max(xkb_keymap_min_keycode(keymap_), 8U); }
  xkb_keycode_t lastKey() const { return std::min(xkb_keymap_max_keycode(keymap_), 255U); }

  xkb_keysym_t baseSymbol(xkb_keycode_t key, xkb_layout_index_t layout) const {
    const xkb_keysym_t* symbols = nullptr;
    const int count = layout < xkb_keymap_num_layouts_for_key(keymap_, key)
                          ? xkb_keymap_key_get_syms_by_level(keymap_, key, layout, 0, &symbols)
                          : 0;
    return count == 1 ? symbols[0] : XKB_KEY_NoSymbol;
  }

  xcb_keycode_t takeKey(const KeyTableRow& row) {
    const auto typing = keysBySymbol_.find(row.keysym);
    const xkb_keycode_t wanted = typing == keysBySymbol_.end() ? 0 : typing->second;
    return wanted != 0 && !isTaken_[wanted] ? take(wanted)
                                            : take(xkb_keymap_key_by_name(keymap_, row.position));
  }

  xcb_keycode_t take(xkb_keycode_t key) {
    if (key < firstKey() || key > lastKey() || isTaken_[key]) {
      return 0;
    }
    isTaken_[key] = true;
    return static_cast<xcb_keycode_t>(key);
  }

  bool readModifiers(Modifiers& modifiers) const {
    const XAnswer<xcb_get_modifier_mapping_reply_t> mapping(xcb_get_modifier_mapping_reply(
        connection_, xcb_get_modifier_mapping(connection_), nullptr));
    if (mapping == nullptr) {
      return false;
    }
    const xcb_keycode_t* keys = xcb_get_modifier_mapping_keycodes(mapping.get());
    const unsigned width = mapping->keycodes_per_modifier;
    for (unsigned modifier = XCB_MAP_INDEX_1; modifier <= XCB_MAP_INDEX_5; ++modifier) {
      for (unsigned i = 0; i < width; ++i) {
        note(keys[modifier * width + i], static_cast<std::uint16_t>(1U << modifier), modifiers);
      }
    }
    return true;
  }

  void note(xkb_keycode_t key, std::uint16_t bit, Modifiers& modifiers) const {
    switch (baseSymbol(key, 0)) {
      case XKB_KEY_Alt_L:
      case XKB_KEY_Alt_R:
        modifiers.option = bit;
        break;
      case XKB_KEY_Super_L:
      case XKB_KEY_Super_R:
        modifiers.command = bit;
        break;
      case XKB_KEY_Num_Lock:
        modifiers.numLock = bit;
        break;
      case XKB_KEY_Scroll_Lock:
        modifiers.scrollLock = bit;
        break;
      default:
        break;
    }
  }

  xcb_connection_t* connection_;
  xkb_keymap* keymap_;
  std::unordered_map<xkb_keysym_t, xkb_keycode_t> keysBySymbol_;
  std::bitset<256> isTaken_;
};

std::optional<XKeyboard> XKeyboard::read(xcb_connection_t* connection) {
  const Keymap keymap = readKeymap(connection);
  XKeyboard keyboard;
  if (keymap == nullptr || !Reader(connection, keymap.get()).read(keyboard)) {
    return std::nullopt;
  }
  keyboard.lockStates_ =
      sumsOf({XCB_MOD_MASK_LOCK, keyboard.modifiers_.numLock, keyboard.modifiers_.scrollLock});
  return keyboard;
}

std::uint16_t XKeyboard::modifiersFor(std::uint32_t hotKeyModifiers) const {
  std::uint16_t bits = 0;
  const auto translate = [&](std::uint32_t modifier, std::uint16_t bit) {
    bits = static_cast<std::uint16_t>(bits | ((hotKeyModifiers & modifier) != 0 ? bit : 0));
  };
  translate(shiftKey, XCB_MOD_MASK_SHIFT);
  translate(controlKey, XCB_MOD_MASK_CONTROL);
  translate(optionKey, modifiers_.option);
  translate(cmdKey, modifiers_.command);
  return bits;
}

std::uint32_t XKeyboard::hotKeyModifiersIn(std::uint16_t state) const {
  return ((state & XCB_MOD_MASK_SHIFT) != 0 ? shiftKey : 0) |
         ((state & XCB_MOD_MASK_CONTROL) != 0 ? controlKey : 0) |
         ((state & XCB_MOD_MASK_LOCK) != 0 ? alphaLock : 0) |
         ((state & modifiers_.option) != 0 ? optionKey : 0) |
         ((state & modifiers_.command) != 0 ? cmdKey : 0);
}

std::uint16_t XKeyboard::significantBits(std::uint16_t state) const {
  return state & modifiersFor(shiftKey | controlKey | optionKey | cmdKey);
}

}  // namespace kestova

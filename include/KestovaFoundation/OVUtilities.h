// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSDictionary.h>

#include <initializer_list>

namespace kestova {

namespace detail {

KESTOVA_FOUNDATION_EXPORT Ref<NSDictionary> dictionaryWithKeysAndValues(
    std::initializer_list<id> keysAndValues);
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableDictionary> mutableDictionaryWithKeysAndValues(
    std::initializer_list<id> keysAndValues);
KESTOVA_FOUNDATION_EXPORT id firstValue(std::initializer_list<id> values);

}  // namespace detail

/// \name Dictionaries from a list of keys and values
///
///     const auto person = NSDictionaryWithKeysAndValues("name", name, "mail", mailOrNull);
///
/// Each key stands before its value. A pair whose value is null is left out. Of pairs with equal
/// keys the last one counts. The list ends with its arguments, or before them at the first null in
/// the place of a key; a key without a value at the end counts as one whose value is null. The
/// first argument is a key in any case: null there, before a value, throws
/// NSInvalidArgumentException. Any thread.
/// @{
template <class... KeysAndValues>
Ref<NSDictionary> NSDictionaryWithKeysAndValues(const id& key, const id& value,
                                                const KeysAndValues&... more) {
  return detail::dictionaryWithKeysAndValues({key, value, id(more)...});
}
template <class... KeysAndValues>
Ref<NSMutableDictionary> NSMutableDictionaryWithKeysAndValues(const id& key, const id& value,
                                                              const KeysAndValues&... more) {
  return detail::mutableDictionaryWithKeysAndValues({key, value, id(more)...});
}
/// @}

/// The first value that is not null; null when there is none. The list ends at NSNull's only
/// object, or with its arguments. Any thread.
///
///     title = _NSFIRST(document->title(), document->fileName(), "Untitled", NSNull::null());
template <class... Values>
id _NSFIRST(const Values&... values) {
  return detail::firstValue({id(values)...});
}

/// Runs the block unless it last did so `interval` seconds ago or less, by the current time (see
/// Clock.h).
///
///     static CFAbsoluteTime lastWarning = 0;
///     __AllowOnceEvery([&] { NSLog("The disk is almost full."); }, &lastWarning, 60);
///
/// `lastTime` is the caller's, and required: the time of the last run, 0 at first. It is set before
/// the block runs. Threads: for one thread at a time; where several share a last time, the block
/// may run once too often.
KESTOVA_FOUNDATION_EXPORT void __AllowOnceEvery(const Block<void()>& block,
                                                CFAbsoluteTime* lastTime, NSTimeInterval interval);

/// \name Marks for classes whose subclasses must implement certain operations
/// Arguments may say which class and which operations. Nothing is checked.
/// @{
KESTOVA_FOUNDATION_EXPORT void EnforceSubclassesImplement() noexcept;
KESTOVA_FOUNDATION_EXPORT void EnforceSubclassImplementationsNow() noexcept;
template <class First, class... Rest>
void EnforceSubclassesImplement(const First&, const Rest&...) noexcept {
  EnforceSubclassesImplement();
}
/// @}

}  // namespace kestova

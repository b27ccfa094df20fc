// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Turns objects into text for people and, where a subclass can, text into objects.
///
///     Ref<NSFormatter> formatter = OVTimeFormatter::init();
///     label->setText(formatter->stringForObjectValue(90));
///
/// A subclass overrides `stringForObjectValue`, and the reading if it offers it.
///
/// Threads: one at a time for each formatter.
class KESTOVA_PLATFORM_EXPORT NSFormatter : public NSObject {
  KESTOVA_CLASS(NSFormatter, NSObject)

 public:
  /// The text for an object; null for one that the formatter knows nothing of.
  virtual Ref<NSString> stringForObjectValue(const id& object) const = 0;

  /// The text for an object where it is to be edited. Here the same.
  virtual Ref<NSString> editingStringForObjectValue(const id& object) const;

  /// The text with its looks. Here null: the plain text is all there is.
  virtual id attributedStringForObjectValue_withDefaultAttributes(
      const id& object, const Ref<NSDictionary>& attributes) const;

  /// Reads a text: answers true and stores the object, or false and stores a text for people that
  /// tells why not. Either pointer may be null. A formatter that only writes throws
  /// NSInvalidArgumentException, as here.
  virtual bool getObjectValue_forString_errorDescription(
      id* object, const Ref<NSString>& string, Ref<NSString>* errorDescription = nullptr) const;

 protected:
  NSFormatter() = default;
};

}  // namespace kestova

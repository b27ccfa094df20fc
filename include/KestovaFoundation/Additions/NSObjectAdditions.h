// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSFastEnumeration.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

inline namespace NSObject_KestovaAdditions {

/// \file
/// What the described properties of an object hold, as text to debug with.
///
///     std::cerr << ov_descriptionUsingAllProperties(item) << '\n';
///     // <Item: 0x5581a3c0> properties = {
///     //     count = 3
///     //     title = nil
///     //
///     // }
///
/// Values are read by key, on this thread; a name that the object has no value for throws
/// NSUndefinedKeyException. Names come in the order in which their collection hands them out.

/// The full description with all properties: that with `ov_allPropertyNames`.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_descriptionUsingAllProperties(const id& self);

/// Class and address, and the properties' lines in braces, each after a tab; deliberately with an
/// empty line before the closing brace. Without names only class and address.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_descriptionUsingProperties(
    const id& self, const NSFastEnumeration& names);

/// The properties' lines alone, with a line feed between each two.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_descriptionOfProperties(const id& self,
                                                                   const NSFastEnumeration& names);

/// A line for each entry, under the entry's key. The entry's object deliberately stands for the
/// name and its key for the value: {a: 1} gives {a: "1 = a"}. Null is no entries.
KESTOVA_FOUNDATION_EXPORT Ref<NSDictionary> ov_propertyDescriptions(
    const id& self, const Ref<NSDictionary>& properties);

/// The line of one property: "name = value", or "name = nil" for null.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_descriptionOfProperty_value(const id& self,
                                                                       const id& name,
                                                                       const id& value);

/// The values of the properties under their names, without those that hold nothing.
KESTOVA_FOUNDATION_EXPORT Ref<NSDictionary> ov_dictionaryOfPropertyValues(
    const id& self, const NSFastEnumeration& names);

/// The names of all properties that the object's class and the classes above it describe, each name
/// once; none for a plain NSObject.
KESTOVA_FOUNDATION_EXPORT Ref<NSSet> ov_allPropertyNames(const id& self);

}  // namespace NSObject_KestovaAdditions

}  // namespace kestova

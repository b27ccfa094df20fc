// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSObjectAdditions.h>
#include <KestovaFoundation/Additions/NSStringEditing.h>
#include <KestovaPlatform/Class.h>

namespace kestova {

inline namespace NSObject_KestovaAdditions {

Ref<NSString> ov_descriptionUsingAllProperties(const id& self) {
  return ov_descriptionUsingProperties(self, ov_allPropertyNames(self));
}

Ref<NSString> ov_descriptionUsingProperties(const id& self, const NSFastEnumeration& names) {
  const auto lines = ov_descriptionOfProperties(self, names);
  const auto head = NSString::stringWithFormat(
      "<%@: %p>", NSStringFromClass(self->classDescriptor()), static_cast<const void*>(self.get()));
  return lines->length() == 0 ? head
                              : NSString::stringWithFormat("%@ properties = {\n%@\n}", head,
                                                           stringByPrefixingLinesWith(lines, "\t"));
}

Ref<NSString> ov_descriptionOfProperties(const id& self, const NSFastEnumeration& names) {
  const auto values = ov_dictionaryOfPropertyValues(self, names);
  const auto lines = NSMutableArray::array();
  for (const id& name : names) {
    lines->addObject(ov_descriptionOfProperty_value(self, name, values->objectForKey(name)));
  }
  return lines->componentsJoinedByString("\n");
}

Ref<NSDictionary> ov_propertyDescriptions(const id& self, const Ref<NSDictionary>& properties) {
  const auto descriptions = NSMutableDictionary::dictionary();
  if (properties) {
    properties->enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& object, bool*) {
      descriptions->setObject_forKey(ov_descriptionOfProperty_value(self, object, key), key);
    });
  }
  return cast<NSDictionary>(descriptions->copy());
}

Ref<NSString> ov_descriptionOfProperty_value(const id&, const id& name, const id& value) {
  return value ? NSString::stringWithFormat("%@ = %@", name, value)
               : NSString::stringWithFormat("%@ = nil", name);
}

Ref<NSDictionary> ov_dictionaryOfPropertyValues(const id& self, const NSFastEnumeration& names) {
  const auto values = NSMutableDictionary::dictionary();
  for (const id& name : names) {
    if (const id value = self->valueForKey(cast<NSString>(name))) {
      values->setObject_forKey(value, name);
    }
  }
  return cast<NSDictionary>(values->copy());
}

Ref<NSSet> ov_allPropertyNames(const id& self) {
  const auto names = NSMutableSet::set();
  for (const Class* described = &self->classDescriptor(); described->superclass() != nullptr;
       described = described->superclass()) {
    for (const Property& property : described->properties()) {
      names->addObject(property.name);
    }
  }
  return cast<NSSet>(names->copy());
}

}  // namespace NSObject_KestovaAdditions

}  // namespace kestova

// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSMutableDictionaryAdditions.h>

namespace kestova {

inline namespace NSMutableDictionary_Additions {

void safeSetObject_forKey(const Ref<NSMutableDictionary>& self, const id& object, const id& key) {
  if (object) {
    self->setObject_forKey(object, key);
  } else {
    self->removeObjectForKey(key);
  }
}

void setBool_forKey(const Ref<NSMutableDictionary>& self, bool value, const id& key) {
  self->setObject_forKey(NSNumber::numberWithBool(value), key);
}

void setInteger_forKey(const Ref<NSMutableDictionary>& self, NSInteger value, const id& key) {
  self->setObject_forKey(NSNumber::numberWithInteger(value), key);
}

void setUnsignedInteger_forKey(const Ref<NSMutableDictionary>& self, NSUInteger value,
                               const id& key) {
  self->setObject_forKey(NSNumber::numberWithUnsignedInteger(value), key);
}

void setDouble_forKey(const Ref<NSMutableDictionary>& self, double value, const id& key) {
  self->setObject_forKey(NSNumber::numberWithDouble(value), key);
}

void setFloat_forKey(const Ref<NSMutableDictionary>& self, float value, const id& key) {
  self->setObject_forKey(NSNumber::numberWithFloat(value), key);
}

void setRect_forKey(const Ref<NSMutableDictionary>& self, const NSRect& rect, const id& key) {
  self->setObject_forKey(NSStringFromRect(rect), key);
}

void setPoint_forKey(const Ref<NSMutableDictionary>& self, NSPoint point, const id& key) {
  self->setObject_forKey(NSStringFromPoint(point), key);
}

void setSize_forKey(const Ref<NSMutableDictionary>& self, NSSize size, const id& key) {
  self->setObject_forKey(NSStringFromSize(size), key);
}

}  // namespace NSMutableDictionary_Additions

}  // namespace kestova

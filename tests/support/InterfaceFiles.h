// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <atomic>
#include <string>

namespace kestova::testing {

/// What interface files are made of in tests; how many there are shows what is left behind.
class FormField final : public NSObject {
 public:
  using super = NSObject;
  static const Class& staticClass() {
    static const Class& description =
        *new Class(ClassBuilder<FormField>("FormField", &NSObject::staticClass())
                       .property<&FormField::title, &FormField::setTitle>("title")
                       .property<&FormField::width, &FormField::setWidth>("width")
                       .property<&FormField::next, &FormField::setNext>("next")
                       .property<&FormField::target, &FormField::setTarget>("target")
                       .property<&FormField::twice>("twice")
                       .build());
    return description;
  }
  const Class& classDescriptor() const override { return staticClass(); }

  FormField() { ++living; }
  ~FormField() override { --living; }
  static int alive() { return living; }

  const Ref<NSString>& title() const { return title_; }
  void setTitle(const Ref<NSString>& title) {
    if (title && title->isEqual("refused")) {
      throw NSException(NSInvalidArgumentException, "This title is refused.");
    }
    title_ = copyOf(title);
  }
  int width() const { return width_; }
  void setWidth(int width) { width_ = width; }
  const Ref<FormField>& next() const { return next_; }
  void setNext(const Ref<FormField>& next) { next_ = next; }
  const id& target() const { return target_; }
  void setTarget(const id& target) { target_ = target; }
  int twice() const { return 2 * width_; }

 private:
  static inline std::atomic<int> living{0};
  static const ClassRegistration registration;

  Ref<NSString> title_;
  int width_ = 0;
  Ref<FormField> next_;
  id target_;
};

inline const ClassRegistration FormField::registration{"FormField", &FormField::staticClass};

/// One that needs an argument.
class SealedField final : public NSObject {
 public:
  using super = NSObject;
  static const Class& staticClass() {
    static const Class& description =
        *new Class(ClassBuilder<SealedField>("SealedField", &NSObject::staticClass()).build());
    return description;
  }
  const Class& classDescriptor() const override { return staticClass(); }

  explicit SealedField(int) {}

 private:
  static const ClassRegistration registration;
};

inline const ClassRegistration SealedField::registration{"SealedField", &SealedField::staticClass};

/// An interface file in XML, of the contents of its two lists.
inline std::string interfaceFile(const std::string& objects, const std::string& connections = "") {
  return "<plist><dict><key>version</key><integer>1</integer><key>objects</key><array>" + objects +
         "</array><key>connections</key><array>" + connections + "</array></dict></plist>";
}

/// An object of it, with what stands in its dictionary besides.
inline std::string interfaceObject(const std::string& name, const std::string& className,
                                   const std::string& more = "") {
  return "<dict><key>id</key><string>" + name + "</string><key>class</key><string>" + className +
         "</string>" + more + "</dict>";
}

/// The same of the class FormField, with its values.
inline std::string formField(const std::string& name, const std::string& values = "",
                             const std::string& more = "") {
  return interfaceObject(name, "FormField", "<key>values</key><dict>" + values + "</dict>" + more);
}

inline std::string interfaceConnection(const std::string& from, const std::string& key,
                                       const std::string& to) {
  return "<dict><key>from</key><string>" + from + "</string><key>key</key><string>" + key +
         "</string><key>to</key><string>" + to + "</string></dict>";
}

}  // namespace kestova::testing

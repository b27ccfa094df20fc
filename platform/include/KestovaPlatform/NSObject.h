// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/Ref.h>

#include <atomic>
#include <cstdint>

namespace kestova {

class Class;
class NSArray;
class NSDictionary;
class NSSet;
class ObjectExtras;

/// What an observer wants to be told, as a sum of bits.
enum NSKeyValueObservingOptions : NSUInteger {
  NSKeyValueObservingOptionNew = 1,      ///< the change holds the value after it
  NSKeyValueObservingOptionOld = 2,      ///< the change holds the value before it
  NSKeyValueObservingOptionInitial = 4,  ///< told once at once, while the observer is being added
  NSKeyValueObservingOptionPrior = 8,    ///< told before each change as well
};

/// Gives a class its description (see Class.h) and lets `make` construct it. First line of a class:
///
///     class Account : public NSObject {
///       KESTOVA_CLASS(Account, NSObject)
///      public: …
///     };
///
/// and once in its source file `KESTOVA_DEFINE_CLASS(Account)`.
#define KESTOVA_CLASS(Name, Superclass)                                              \
  template <class T, class... Arguments>                                             \
  friend ::kestova::Ref<T> kestova::make(Arguments&&...);                            \
                                                                                     \
 public:                                                                             \
  using super = Superclass;                                                          \
  static const ::kestova::Class& staticClass();                                      \
  const ::kestova::Class& classDescriptor() const override { return staticClass(); } \
                                                                                     \
 private:

/// The root of all objects: shared ownership, equality, description, access to properties by name,
/// observation of properties.
///
/// Objects live on the heap, made with `make` or a class's own static functions, and are held by
/// `Ref`. A subclass overrides `isEqual` and `hash` together. Objects are not copied by C++ means:
/// `copy` and `mutableCopy` do it where a class offers them.
///
/// Threads: the reference count is safe from any thread. Registering observers and announcing
/// changes is too; an observer is told on the thread that changes the property, with no lock held,
/// and may add or remove observers from there. Anything else is as thread-safe as its class says.
class KESTOVA_PLATFORM_EXPORT NSObject {
 public:
  static const Class& staticClass();

  NSObject(const NSObject&) = delete;
  NSObject& operator=(const NSObject&) = delete;

  /// \name Identity, class, text
  /// @{

  /// The description of the nearest class that has one.
  virtual const Class& classDescriptor() const;

  /// Whether this object is of that class or of one below it.
  bool isKindOfClass(const Class& other) const;

  /// Whether both stand for the same value. Here: whether they are the same object. Null is equal
  /// to nothing.
  virtual bool isEqual(const id& other) const;

  /// The same number for equal objects, for as long as the object is a key or a member somewhere.
  virtual NSUInteger hash() const;

  /// A text for people who debug. Here: "<Class: 0x…>".
  virtual Ref<NSString> description() const;

  /// An immutable object of the same value; an immutable receiver may answer itself. A class that
  /// can't be copied throws NSInvalidArgumentException, as here.
  virtual id copy() const;

  /// A mutable object of the same value. A class without one throws NSInvalidArgumentException.
  virtual id mutableCopy() const;

  /// @}
  /// \name Properties by name (key-value coding)
  ///
  /// A key names a property that the class describes, by the property's own name or, for "ready",
  /// as "isReady". Numbers, booleans and plain structs arrive boxed. Null is an unknown key.
  /// @{

  /// The property's value; nothing when it holds nothing. An unknown key goes to
  /// `valueForUndefinedKey`.
  virtual id valueForKey(const Ref<NSString>& key) const;

  /// Sets the property as its setter does. Null for a property of a plain type goes to
  /// `setNilValueForKey`, an unknown or read-only key to `setValue_forUndefinedKey`.
  virtual void setValue_forKey(const id& value, const Ref<NSString>& key);

  /// Follows the keys of a dotted path ("owner.address.city"); nothing as soon as one holds
  /// nothing.
  virtual id valueForKeyPath(const Ref<NSString>& keyPath) const;

  /// Sets the last key of a dotted path; does nothing when an object on the way is missing.
  virtual void setValue_forKeyPath(const id& value, const Ref<NSString>& keyPath);

  /// Throws NSUndefinedKeyException. A subclass may answer for keys of its own.
  virtual id valueForUndefinedKey(const Ref<NSString>& key) const;

  /// Throws NSUndefinedKeyException. A subclass may store keys of its own.
  virtual void setValue_forUndefinedKey(const id& value, const Ref<NSString>& key);

  /// Throws NSInvalidArgumentException. A subclass may choose a value that stands for nothing.
  virtual void setNilValueForKey(const Ref<NSString>& key);

  /// @}
  /// \name Observation of properties (key-value observing)
  ///
  /// An observer is told of each announced change of a property or of the end of a dotted path,
  /// once per registration, in the order of registration. Whoever was registered when the change
  /// began is told when it is done. An observer that throws when it is told before keeps the change
  /// from being made, and who was told before it is told of the end as well; what one throws
  /// afterwards comes out when all have been told.
  /// @{

  /// Registers `observer` for a key or dotted path. It is not held: an observer that goes ends its
  /// registrations, and so does the object that is observed. `options` is a sum of
  /// NSKeyValueObservingOptions; `context` is handed back untouched and tells registrations apart.
  /// Objects in the middle of a path are followed as they change. A null observer or path throws
  /// NSInvalidArgumentException.
  void addObserver_forKeyPath_options_context(NSObject* observer, const Ref<NSString>& keyPath,
                                              NSUInteger options, void* context);

  /// Ends the latest registration of `observer` for the path, whatever its context. When there is
  /// none, throws NSRangeException. Nothing is delivered to it afterwards, also when it is called
  /// during a delivery; what another thread is just delivering may still run on, and keeps the
  /// observer and the object alive until it has.
  void removeObserver_forKeyPath(NSObject* observer, const Ref<NSString>& keyPath);

  /// The same for the latest registration with that context.
  void removeObserver_forKeyPath_context(NSObject* observer, const Ref<NSString>& keyPath,
                                         void* context);

  /// Called on an observer for each change. `change` holds what its options asked for under
  /// NSKeyValueChangeNewKey, NSKeyValueChangeOldKey and NSKeyValueChangeNotificationIsPriorKey
  /// (NSNull standing for nothing), and always NSKeyValueChangeKindKey. Here: throws
  /// NSInternalInconsistencyException, for an observer that observes must override it.
  virtual void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath,
                                                              const id& object,
                                                              const Ref<NSDictionary>& change,
                                                              void* context);

  /// Announce a change by hand: `will` before it, `did` after it, always in pairs on one thread. A
  /// pair costs next to nothing while nobody observes. Within one function `KeyValueChange` is the
  /// safer form. A null key throws NSInvalidArgumentException, whether anybody observes or not.
  void willChangeValueForKey(const Ref<NSString>& key);
  void didChangeValueForKey(const Ref<NSString>& key);
  void willChangeValueForKey(const char* key);
  void didChangeValueForKey(const char* key);

  /// The keys and dotted paths, from this object on, whose changes are changes of the property as
  /// well: observers of "fullName" are told when "firstName" changes. Null is none, as here. A
  /// subclass answers for the properties that it declares and asks the class above for all others.
  /// The answer is the same for all objects of a class.
  virtual Ref<NSSet> keyPathsForValuesAffectingValueForKey(const Ref<NSString>& key) const;

  /// Whether anybody observes any property of this object.
  bool hasObservers() const noexcept {
    return extras_.load(std::memory_order_acquire) != 0 && isObserved();
  }

  /// @}
  /// \name Ownership
  /// What `Ref` calls; nobody else has a reason to.
  /// @{

  void retain() const noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
  void release() const noexcept {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      delete this;
    }
  }

  /// How many references there are, for tests and diagnosis.
  NSUInteger retainCount() const noexcept { return references_.load(std::memory_order_relaxed); }

  /// @}

 protected:
  NSObject() noexcept = default;
  virtual ~NSObject();

  /// This object as a reference, for functions that hand themselves out.
  id self() const noexcept { return id(const_cast<NSObject*>(this)); }

 private:
  friend class ObjectExtras;

  bool isObserved() const noexcept;

  mutable std::atomic<std::uint32_t> references_{1};
  /// The number of what only few objects have, such as observers: 0 until it is first needed. It is
  /// gone with the object.
  mutable std::atomic<std::uint32_t> extras_{0};
};

/// Announces the change of one property while it lives: `will` when made, `did` at the end of the
/// block. The first line of a setter:
///
///     void Account::setName(const Ref<NSString>& name) {
///       KeyValueChange change(*this, "name");
///       mName = copyOf(name);
///     }
///
/// While nobody observes the object it costs one load; the key is then never made a string. A key
/// is not null. Where an exception ends the block, what observers throw on top of it is dropped.
class KESTOVA_PLATFORM_EXPORT KeyValueChange {
 public:
  KeyValueChange(NSObject& object, const char* key) : object_(object) {
    if (object_.hasObservers()) {
      begin(key);
    }
  }
  KeyValueChange(NSObject& object, const Ref<NSString>& key) : object_(object) {
    if (object_.hasObservers()) {
      beginNamed(key);
    }
  }
  ~KeyValueChange() noexcept(false) {
    if (number_ != 0) {
      end();
    }
  }
  KeyValueChange(const KeyValueChange&) = delete;
  KeyValueChange& operator=(const KeyValueChange&) = delete;

 private:
  // Two names: to choose between overloads would ask here whether text is a string, before it is.
  void begin(const char* key);
  void beginNamed(const Ref<NSString>& key);
  void end();

  NSObject& object_;
  std::uint64_t number_ = 0;  // by which the thread knows the change; 0 when nobody is to be told
  int exceptions_ = 0;        // how many were on their way when it began
};

/// An immutable copy for storing; null stays null. `T` is the type as the variable declares it, so
/// a mutable string handed over as `Ref<NSString>` is stored as an immutable one.
template <class T>
Ref<T> copyOf(const Ref<T>& object) {
  return object ? cast<T>(object->copy()) : Ref<T>();
}

/// Whether both are nothing, or both are equal objects.
inline bool isEqualOrBothNull(const id& a, const id& b) { return a == b || (a && a->isEqual(b)); }

}  // namespace kestova

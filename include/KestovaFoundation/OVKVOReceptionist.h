// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Calls a block for the changes of one property of one object, for as long as it lives.
///
///     mReceptionist = OVKVOReceptionist::receptionistForKeyPath_object_handler(
///         "owner.name", account, [this](const auto&, const id&, const auto& change) {
///           show(change->objectForKey(NSKeyValueChangeNewKey));
///         });
///
/// Threads: one at a time. The handler is called on the thread that makes the change, with no lock
/// held; it may cancel or let go of the receptionist.
///
/// Ownership: it holds the observed object and the handler until it is cancelled. Nothing holds the
/// receptionist: who wants to be told keeps it.
class KESTOVA_FOUNDATION_EXPORT OVKVOReceptionist : public NSObject {
  KESTOVA_CLASS(OVKVOReceptionist, NSObject)

 public:
  /// `change` holds the values before and after the change (see `addObserver…` of NSObject).
  using Handler =
      Block<void(const Ref<NSString>& keyPath, const id& object, const Ref<NSDictionary>& change)>;

  /// Observes from now on. A null object is never observed; a null key path throws
  /// NSInvalidArgumentException, an empty handler is a broken contract when there is something to
  /// tell.
  static Ref<OVKVOReceptionist> receptionistForKeyPath_object_handler(const Ref<NSString>& keyPath,
                                                                      const id& object,
                                                                      const Handler& handler);

  /// Ends the observation, for good, and lets go of the object and the handler; does nothing the
  /// second time. The end of the receptionist does the same.
  void cancel();

  /// Whether `cancel` has been called.
  bool isCancelled() const noexcept { return _cancelled; }

  /// Hands the change on to the handler, when it is one of the observed object and key path. What
  /// another context than the receptionist's own class comes with goes to the base class.
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath,
                                                      const id& object,
                                                      const Ref<NSDictionary>& change,
                                                      void* context) override;

 protected:
  OVKVOReceptionist(const Ref<NSString>& keyPath, const Handler& handler);
  ~OVKVOReceptionist() override;

 private:
  id _observedObject;
  Ref<NSString> _observedKeyPath;
  Handler _handler;
  bool _cancelled = false;
};

}  // namespace kestova

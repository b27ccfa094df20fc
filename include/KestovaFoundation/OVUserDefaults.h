// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSUserDefaults.h>

#include <mutex>

namespace kestova {

/// Tells of a change of a suite, in two centres. In the distributed one its object is the suite's
/// name, and its user info has the bundle identifier of the program that wrote under
/// "bundleIdentifierOfSender". In the default centre its object is the OVUserDefaults that heard of
/// it, and its user info has the suite's name under "suiteName".
extern KESTOVA_FOUNDATION_EXPORT const StringConstant NSUserDefaultsSuiteDidChangeNotification;

/// User defaults that several programs share as suites: each suite is the persistent domain of one
/// program, named by its bundle identifier. Each suite has registered defaults of its own, and all
/// programs that added a suite hear of changes of it.
///
///     int main() {
///       OVUserDefaults::install();
///       const auto defaults = NSUserDefaults::standardUserDefaults();
///       const auto own = NSDictionary::of({{"theme", "light"}});
///       registerDefaults_inSuite(defaults, own, "org.example.A");
///       defaults->addSuiteNamed("org.example.A");
///       …
///       objectForKey_inSuite(defaults, "theme", "org.example.A");
///       setObject_forKey_inSuite(defaults, "dark", "theme", "org.example.A");  // all hear of it
///     }
///
/// The operations that take a suite are in Additions/NSUserDefaultsAdditions.h. A program hears of
/// the writing to its own domain, and tells others, once it has added its own identifier as a
/// suite.
///
/// Threads: any may read, write and register; suites are added and removed on the thread that is to
/// hear of changes, which must run its run loop: in practice the main thread. `install` and the
/// first `standardUserDefaults` belong there too, before there are other threads.
///
/// Ownership: observations of suites end with the instance; the shared one lives as long as the
/// process. Registered defaults live in memory only and are registered again at each launch.
///
/// Cost: as NSUserDefaults; what is announced is written to the disk first.
class KESTOVA_FOUNDATION_EXPORT OVUserDefaults : public NSUserDefaults {
  KESTOVA_CLASS(OVUserDefaults, NSUserDefaults)

 public:
  /// \name Making
  /// @{

  /// Makes the shared instance what `NSUserDefaults::standardUserDefaults` answers from then on, in
  /// all of the process. To be called once, before anybody has asked for that.
  static void install();

  /// The shared instance, the same every time; made when it is first asked for.
  static Ref<OVUserDefaults> standardUserDefaults();

  /// One beside the shared one, of the current user.
  static Ref<OVUserDefaults> init();

  /// One of the user with that account name; null for the current one. Answers null when there is
  /// no such account.
  static Ref<OVUserDefaults> initWithUser(const Ref<NSString>& user);

  /// @}
  /// \name Registered defaults
  /// @{

  /// Registers defaults of the application's own domain.
  void registerDefaults(const Ref<NSDictionary>& defaults) override;

  /// Adds entries to the defaults of a suite, in place of those with equal keys. Look-ups in all
  /// domains (`objectForKey`) find the defaults of all suites, the application's own before those
  /// of the others; which of several others wins is not defined. A null suite is the application's
  /// domain, null defaults are none.
  void _registerDefaults_inSuite(const Ref<NSDictionary>& defaults, const Ref<NSString>& suite);

  /// Hands the registered defaults of all suites to the platform. `_registerDefaults_inSuite` does
  /// so. Keys that are registered there already stay, if with other values.
  void _updateRegisteredDefaults();

  /// What the suite's domain has under the key, or else what is registered for the suite; null when
  /// neither has it. Nothing else is looked at. A null suite is the application's domain.
  id _objectForKey_inSuite(const Ref<NSString>& key, const Ref<NSString>& suite);

  /// @}
  /// \name Suites
  /// @{

  /// Looks the suite through as well from now on, and hears of its changes on the run loop of this
  /// thread. What is added twice is heard of twice. Null is not added.
  void addSuiteNamed(const Ref<NSString>& suite) override;

  /// Ends both, however often it was added.
  void removeSuiteNamed(const Ref<NSString>& suite) override;

  /// The hearing alone, without the search.
  void addObservationsForSuite(const Ref<NSString>& suite);
  void removeObservationsForSuite(const Ref<NSString>& suite);

  /// Called for each change of an added suite that is announced. One by another program is read
  /// from the disk, and NSUserDefaultsDidChangeNotification posted. Then, also after a change by
  /// this program, NSUserDefaultsSuiteDidChangeNotification is posted, both in the default centre.
  void suiteDidChangeDistributedNotification(const Ref<NSNotification>& notification);

  /// @}
  /// \name The application's domain
  /// As the platform does it. Where the application's own identifier is one of the suites, the
  /// change is then written to the disk and announced to all programs.
  /// @{
  void setObject_forKey(const id& value, const Ref<NSString>& key) override;
  void removeObjectForKey(const Ref<NSString>& key) override;
  /// @}

 protected:
  /// Null is the current user; an account that doesn't exist is a broken contract.
  explicit OVUserDefaults(const Ref<NSString>& user = nullptr);
  ~OVUserDefaults() override;

 private:
  const Ref<NSString>& suiteOrOwn(const Ref<NSString>& suite) const;
  Ref<NSDictionary> registeredInSuite(const Ref<NSString>& suite) const;
  void announceOwnChange();

  const Ref<NSString> mAppIdentifier;
  /// Guards what follows.
  mutable std::mutex mutex_;
  const Ref<NSMutableArray> mSuites;
  /// Immutable dictionaries by the name of their suite.
  const Ref<NSMutableDictionary> mRegisteredDefaultsBySuite;
};

}  // namespace kestova

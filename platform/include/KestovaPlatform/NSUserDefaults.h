// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSURL.h>

#include <memory>

namespace kestova {

class PreferencesDomain;
class PreferencesStore;
class SearchList;

/// \name Domains that every search goes through
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSArgumentDomain;      ///< of this run
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSGlobalDomain;        ///< of all programs
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSRegistrationDomain;  ///< what else holds
/// @}

/// Posted to the default centre when preferences have been changed here, with the NSUserDefaults
/// that they were changed through as its object: on the thread that changed them, before the
/// changing operation returns.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSUserDefaultsDidChangeNotification;

/// \name A value as a number, as the accessors of NSUserDefaults read it
/// That of a number, or what a string begins with; 0 and false for anything else, null too.
/// @{
KESTOVA_PLATFORM_EXPORT NSInteger integerValueOf(const id& value);
KESTOVA_PLATFORM_EXPORT float floatValueOf(const id& value);
KESTOVA_PLATFORM_EXPORT double doubleValueOf(const id& value);
KESTOVA_PLATFORM_EXPORT bool boolValueOf(const id& value);
/// @}

/// What a person has set, in domains: dictionaries of property lists by key. Persistent domains are
/// files that all of the person's programs share, one for each program and named by its bundle
/// identifier; volatile ones end with the process.
///
///     const auto defaults = NSUserDefaults::standardUserDefaults();
///     defaults->registerDefaults(NSDictionary::of({{"tabWidth", 4}}));
///     …
///     defaults->setInteger_forKey(8, "tabWidth");
///     defaults->integerForKey("tabWidth");                   // 8, also next time
///
/// A key is looked for in NSArgumentDomain (arguments of the process such as `-tabWidth 2`), the
/// domain of the application, the added suites in the order of adding, NSGlobalDomain and
/// NSRegistrationDomain. What is set goes to the domain of the application.
///
/// What is set counts at once in this process. It is written within about a second, when
/// `synchronize` is called, and when the process ends by itself; `setPersistentDomain_forName`
/// writes before it returns. What is written survives a crash of the process and of the machine.
/// Several processes may write one domain at a time: only the keys that were changed here are
/// changed in the file. What others have written is seen after `synchronize`, and in a domain that
/// is written.
///
/// What can't be read or written (a full disk, a file or folder of somebody else, a symbolic link
/// in place of a file, a lock that nobody lets go of for five seconds) is told by one line in the
/// log. Changes stay in force in this process, and are tried again. A damaged file is put aside and
/// counts as missing. See docs/formats/preferences.md.
///
/// Values are strings, numbers, truth values, dates, data, and arrays and dictionaries of them,
/// with strings as keys: anything else, null too, throws NSInvalidArgumentException, and so does a
/// null key to be set. They are stored as copies; what is answered is immutable.
///
/// Threads: any. A thread that writes may wait for the disk and for other processes, one that reads
/// only when a domain is used for the first time. No lock is held while observers are told.
///
/// Ownership: instances are light, and share the domains of their user.
///
/// Cost: a look-up takes constant time, however many suites there are. The first one after a change
/// in another domain than the application's takes time for all keys, and so does writing.
class KESTOVA_PLATFORM_EXPORT NSUserDefaults : public NSObject {
  KESTOVA_CLASS(NSUserDefaults, NSObject)

 public:
  /// \name Making
  /// @{

  /// The one that all of a process shares; what `replaceStandardUserDefaults` put in place, if
  /// anything.
  static Ref<NSUserDefaults> standardUserDefaults();

  /// Another one, of the current user.
  static Ref<NSUserDefaults> init();

  /// One of the user with that account name; null for the current one. Answers null when there is
  /// no such account.
  static Ref<NSUserDefaults> initWithUser(const Ref<NSString>& user);

  /// What `standardUserDefaults` calls from now on, for a library whose subclass is to stand in for
  /// this class everywhere; null puts the platform's own back. For the start of a program, while it
  /// has one thread and nobody has asked yet.
  static void replaceStandardUserDefaults(Ref<NSUserDefaults> (*standardUserDefaults)());

  /// @}
  /// \name Reading
  /// Null, 0 or false where there is nothing under the key, or nothing of that kind.
  /// @{

  /// The value, of whatever kind, from the first domain in the order above that has one.
  virtual id objectForKey(const Ref<NSString>& key);

  /// A string, or a number as text.
  Ref<NSString> stringForKey(const Ref<NSString>& key);
  Ref<NSArray> arrayForKey(const Ref<NSString>& key);
  Ref<NSDictionary> dictionaryForKey(const Ref<NSString>& key);
  Ref<NSData> dataForKey(const Ref<NSString>& key);

  /// An array of nothing but strings.
  Ref<NSArray> stringArrayForKey(const Ref<NSString>& key);

  /// A number, or the one that a string begins with.
  NSInteger integerForKey(const Ref<NSString>& key);
  float floatForKey(const Ref<NSString>& key);
  double doubleForKey(const Ref<NSString>& key);

  /// A number other than 0, or a string as `NSString::boolValue` reads it.
  bool boolForKey(const Ref<NSString>& key);

  /// What `setURL_forKey` stored: a string that begins with "/" is the path of a file, every other
  /// one a whole URL.
  Ref<NSURL> URLForKey(const Ref<NSString>& key);

  /// Everything that a look-up can find, as it is now.
  Ref<NSDictionary> dictionaryRepresentation();

  /// @}
  /// \name Changing the application's domain
  /// @{

  /// Keeps a copy of a property list under the key. It counts at once, and is written later or by
  /// `synchronize`. A null key, and what is no property list, throws NSInvalidArgumentException.
  virtual void setObject_forKey(const id& value, const Ref<NSString>& key);

  /// Removes it there: what other domains have shows then. A null key is not there.
  virtual void removeObjectForKey(const Ref<NSString>& key);

  /// The same with a number.
  void setInteger_forKey(NSInteger value, const Ref<NSString>& key);
  void setFloat_forKey(float value, const Ref<NSString>& key);
  void setDouble_forKey(double value, const Ref<NSString>& key);
  void setBool_forKey(bool value, const Ref<NSString>& key);

  /// Stores a string: the path of a file, or the absolute string. Null removes the key.
  void setURL_forKey(const Ref<NSURL>& url, const Ref<NSString>& key);

  /// @}
  /// \name What else is looked through
  /// @{

  /// Adds entries to NSRegistrationDomain, in place of those with equal keys. Null adds nothing.
  virtual void registerDefaults(const Ref<NSDictionary>& defaults);

  /// Adds a persistent domain behind those added before. One that is looked through already, and
  /// null, is not added.
  virtual void addSuiteNamed(const Ref<NSString>& suite);

  /// Takes one out that was added.
  virtual void removeSuiteNamed(const Ref<NSString>& suite);

  /// @}
  /// \name Volatile domains
  /// NSArgumentDomain and NSRegistrationDomain are; others are found by name only.
  /// @{

  /// Their names, in no order that is promised.
  Ref<NSArray> volatileDomainNames();

  /// Null where there is none.
  Ref<NSDictionary> volatileDomainForName(const Ref<NSString>& name);

  /// Throws NSInvalidArgumentException when there is one of that name, and for null.
  void setVolatileDomain_forName(const Ref<NSDictionary>& domain, const Ref<NSString>& name);
  void removeVolatileDomainForName(const Ref<NSString>& name);

  /// @}
  /// \name Persistent domains
  /// @{

  /// The names of all that hold something, of the user.
  Ref<NSArray> persistentDomainNames();

  /// All of a domain; null where it holds nothing, and for null.
  Ref<NSDictionary> persistentDomainForName(const Ref<NSString>& name);

  /// Makes the domain this, and writes it before it returns. What others have changed since this
  /// thread last asked for the domain stays, but for keys that are changed here: the objects that
  /// were answered then, under the same keys, are no change. An empty one is no domain any more.
  /// Null throws NSInvalidArgumentException.
  virtual void setPersistentDomain_forName(const Ref<NSDictionary>& domain,
                                           const Ref<NSString>& name);

  /// Removes all that is in the domain now, and writes that before it returns.
  void removePersistentDomainForName(const Ref<NSString>& name);

  /// Writes what waits to be written, and reads what others have written, in all domains that were
  /// used. Answers false when something of it could not be done.
  virtual bool synchronize();

  /// @}

 protected:
  /// Null is the current user; an account that doesn't exist is a broken contract.
  explicit NSUserDefaults(const Ref<NSString>& user = nullptr);

  /// On a store of one's own, with the domain of that name as the application's.
  NSUserDefaults(std::shared_ptr<PreferencesStore> store, const Ref<NSString>& application);
  ~NSUserDefaults() override;

 private:
  void write(PreferencesDomain& changed);
  void announceChange();

  const std::unique_ptr<SearchList> list_;
};

}  // namespace kestova

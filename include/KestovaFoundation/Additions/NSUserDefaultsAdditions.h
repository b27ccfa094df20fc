// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSUserDefaults.h>

namespace kestova {

/// \file
/// Values in the domains of other programs.
///
///     const auto defaults = NSUserDefaults::standardUserDefaults();  // once it is installed
///     setBool_forKey_inSuite(defaults, true, "dark", "org.example.Editor");  // told to all
///     boolForKey_inPersistentDomain(defaults, "dark", "org.example.Editor");
///
/// A change of another program's domain is on the disk when the operation returns, unless that is
/// told by a line in the log, and changes no other key, whatever others write at the same time.
///
/// Threads: any. Null user defaults are a broken contract. Writing throws
/// NSInvalidArgumentException for a null key, and for a value that is null or no property list.
/// Typed values are read as NSUserDefaults reads them: what is missing is 0 or false.

/// Suites as OVUserDefaults has them. A null suite, and one that is the application's own
/// identifier, is the application's domain.
///
/// The readers and `registerDefaults_inSuite` throw NSInvalidArgumentException for user defaults
/// that are no OVUserDefaults.
inline namespace NSUserDefaults_KestovaSuiteAdditions {

/// `OVUserDefaults::_registerDefaults_inSuite`.
KESTOVA_FOUNDATION_EXPORT void registerDefaults_inSuite(const Ref<NSUserDefaults>& self,
                                                        const Ref<NSDictionary>& defaults,
                                                        const Ref<NSString>& suite);

/// `OVUserDefaults::_objectForKey_inSuite`.
KESTOVA_FOUNDATION_EXPORT id objectForKey_inSuite(const Ref<NSUserDefaults>& self,
                                                  const Ref<NSString>& key,
                                                  const Ref<NSString>& suite);

/// Writes a value in the suite's domain and announces it to all programs. In the application's
/// domain it is `setObject_forKey` instead.
KESTOVA_FOUNDATION_EXPORT void setObject_forKey_inSuite(const Ref<NSUserDefaults>& self,
                                                        const id& value, const Ref<NSString>& key,
                                                        const Ref<NSString>& suite);

/// Removes a value from the suite's domain, deliberately without announcing it: others learn of it
/// when they next read the domain anew. In the application's domain it is `removeObjectForKey`
/// instead.
KESTOVA_FOUNDATION_EXPORT void removeObjectForKey_inSuite(const Ref<NSUserDefaults>& self,
                                                          const Ref<NSString>& key,
                                                          const Ref<NSString>& suite);

/// \name Typed values
/// @{
KESTOVA_FOUNDATION_EXPORT NSInteger integerForKey_inSuite(const Ref<NSUserDefaults>& self,
                                                          const Ref<NSString>& key,
                                                          const Ref<NSString>& suite);
KESTOVA_FOUNDATION_EXPORT float floatForKey_inSuite(const Ref<NSUserDefaults>& self,
                                                    const Ref<NSString>& key,
                                                    const Ref<NSString>& suite);
KESTOVA_FOUNDATION_EXPORT double doubleForKey_inSuite(const Ref<NSUserDefaults>& self,
                                                      const Ref<NSString>& key,
                                                      const Ref<NSString>& suite);
KESTOVA_FOUNDATION_EXPORT bool boolForKey_inSuite(const Ref<NSUserDefaults>& self,
                                                  const Ref<NSString>& key,
                                                  const Ref<NSString>& suite);
KESTOVA_FOUNDATION_EXPORT void setInteger_forKey_inSuite(const Ref<NSUserDefaults>& self,
                                                         NSInteger value, const Ref<NSString>& key,
                                                         const Ref<NSString>& suite);
KESTOVA_FOUNDATION_EXPORT void setFloat_forKey_inSuite(const Ref<NSUserDefaults>& self, float value,
                                                       const Ref<NSString>& key,
                                                       const Ref<NSString>& suite);
KESTOVA_FOUNDATION_EXPORT void setDouble_forKey_inSuite(const Ref<NSUserDefaults>& self,
                                                        double value, const Ref<NSString>& key,
                                                        const Ref<NSString>& suite);
KESTOVA_FOUNDATION_EXPORT void setBool_forKey_inSuite(const Ref<NSUserDefaults>& self, bool value,
                                                      const Ref<NSString>& key,
                                                      const Ref<NSString>& suite);
/// @}

}  // namespace NSUserDefaults_KestovaSuiteAdditions

/// One persistent domain and nothing else: registered defaults don't count, and nothing is
/// announced to other programs. A null domain stands for the user defaults' ordinary operation of
/// that name.
inline namespace NSUserDefaults_KestovaPersistentDomainAdditions {

KESTOVA_FOUNDATION_EXPORT id objectForKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                             const Ref<NSString>& key,
                                                             const Ref<NSString>& domain);

/// Makes the domain when there is none.
KESTOVA_FOUNDATION_EXPORT void setObject_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                                   const id& value,
                                                                   const Ref<NSString>& key,
                                                                   const Ref<NSString>& domain);
KESTOVA_FOUNDATION_EXPORT void removeObjectForKey_inPersistentDomain(
    const Ref<NSUserDefaults>& self, const Ref<NSString>& key, const Ref<NSString>& domain);

/// \name Typed values
/// @{
KESTOVA_FOUNDATION_EXPORT NSInteger integerForKey_inPersistentDomain(
    const Ref<NSUserDefaults>& self, const Ref<NSString>& key, const Ref<NSString>& domain);
KESTOVA_FOUNDATION_EXPORT float floatForKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                               const Ref<NSString>& key,
                                                               const Ref<NSString>& domain);
KESTOVA_FOUNDATION_EXPORT double doubleForKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                                 const Ref<NSString>& key,
                                                                 const Ref<NSString>& domain);
KESTOVA_FOUNDATION_EXPORT bool boolForKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                             const Ref<NSString>& key,
                                                             const Ref<NSString>& domain);
KESTOVA_FOUNDATION_EXPORT void setInteger_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                                    NSInteger value,
                                                                    const Ref<NSString>& key,
                                                                    const Ref<NSString>& domain);
KESTOVA_FOUNDATION_EXPORT void setFloat_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                                  float value,
                                                                  const Ref<NSString>& key,
                                                                  const Ref<NSString>& domain);
KESTOVA_FOUNDATION_EXPORT void setDouble_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                                   double value,
                                                                   const Ref<NSString>& key,
                                                                   const Ref<NSString>& domain);
KESTOVA_FOUNDATION_EXPORT void setBool_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                                                 bool value,
                                                                 const Ref<NSString>& key,
                                                                 const Ref<NSString>& domain);
/// @}

}  // namespace NSUserDefaults_KestovaPersistentDomainAdditions

}  // namespace kestova

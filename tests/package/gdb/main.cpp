// SPDX-License-Identifier: Apache-2.0
// A program with one object of each kind, which crashes. gdb looks at it, alive and as a core dump.
#include <KestovaFoundation/OSXCrashReporterInfo.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSString.h>

#include <cstdlib>
#include <string>

using namespace kestova;

namespace {

class Account : public NSObject {};

void crash() { std::abort(); }

}  // namespace

int main() {
  OSXCrashReporterInfoInitialize();
  OSXCrashReporterInfoSet("importing page 7");

  const Ref<NSString> ascii = "plain \"text\"";
  const Ref<NSString> unicode = u"Grüße";
  const Ref<NSMutableString> changing = NSMutableString::stringWithString("changing");
  const Ref<NSString> empty = NSString::string();
  const Ref<NSString> large = NSString::stringWithEightBitStorage(std::string(600, 'x'));
  const Ref<NSString> none;
  const id text = ascii;
  const Ref<NSNumber> whole = -42;
  const Ref<NSNumber> fraction = 0.5;
  const Ref<NSNumber> truth = true;
  const Ref<NSData> data = NSData::dataWithBytes_length("hello", 5);
  const Ref<NSData> noData = NSData::data();
  const Ref<NSArray> array = NSArray::of("one", 2, NSNull::null());
  const Ref<NSArray> mutableArray = NSMutableArray::of(array);
  const Ref<NSArray> noMembers = NSArray::array();
  const Ref<NSDictionary> dictionary = NSDictionary::of({{"name", "Ada"}});
  const Ref<NSDictionary> mutableDictionary = NSMutableDictionary::of({{1, dictionary}});
  const Ref<NSSet> set = NSSet::of("member");
  const Ref<NSSet> mutableSet = NSMutableSet::of(1.5);
  const id other = make<Account>();
  const NSString& plain = *ascii;

  crash();
  // Nothing goes before the crash.
  return static_cast<int>(plain.length()) + static_cast<int>(other->hash());
}

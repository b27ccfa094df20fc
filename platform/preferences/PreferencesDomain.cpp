// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesDomain.h"

#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSLog.h>

#include "preferences/PreferencesFault.h"
#include "preferences/PropertyListCopy.h"
#include "preferences/PropertyListFault.h"
#include "preferences/ReplacedFiles.h"

#include <pthread.h>

#include <climits>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kestova {
namespace {

constexpr std::chrono::milliseconds kNoPatience{0};

/// Of the domain's file: so that any name that goes with it is one, too.
constexpr std::size_t kLongestFileName =
    NAME_MAX - std::string_view(".damaged-20010131T120000Z-999").size();

std::uint64_t nextNumber() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

using KnownDomains = std::unordered_map<std::uint64_t, Ref<NSDictionary>>;

/// What POSIX keeps for each thread goes after all that C++ does, so that destructors at the end of
/// a thread or program find it.
pthread_key_t keyOfKnown() {
  pthread_key_t key{};
  const int error =
      ::pthread_key_create(&key, [](void* known) { delete static_cast<KnownDomains*>(known); });
  require(error == 0, "there is a key left for what belongs to threads");
  return key;
}

/// What the thread was last told of each domain, by the domain's number.
KnownDomains& knownHere() {
  static const pthread_key_t key = keyOfKnown();
  auto* known = static_cast<KnownDomains*>(::pthread_getspecific(key));
  if (known == nullptr) {
    known = new KnownDomains();
    ::pthread_setspecific(key, known);
  }
  return *known;
}

Ref<NSString> stringFromKey(const id& key) {
  auto string = cast<NSString>(key);
  if (!string) {
    throw NSException(NSInvalidArgumentException, "A key of preferences is no string");
  }
  return string;
}

/// The entries of `contents` that are not the very ones of `known`, as copies; keys that are only
/// there with null.
ObjectMap differences(const Ref<NSDictionary>& known, const Ref<NSDictionary>& contents) {
  ObjectMap found;
  contents->enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& value, bool*) {
    if (known->objectForKey(key) != value) {
      const auto name = stringFromKey(key);
      found[name->copy()] = propertyListCopy(value, name);
    }
  });
  known->enumerateKeysAndObjectsUsingBlock([&](const id& key, const id&, bool*) {
    if (!contents->objectForKey(key)) {
      found[key] = nullptr;
    }
  });
  return found;
}

}  // namespace

/// What is to be written, used without the mutex: whoever changes the contents meanwhile changes a
/// copy. Unless it is said to be done, the changes wait again.
class PreferencesDomain::Writing {
 public:
  explicit Writing(PreferencesDomain& domain) : domain_(domain) {
    const std::lock_guard lock(domain_.mutex_);
    whole = domain_.contents_;
    domain_.inWriting_ = std::exchange(domain_.pending_, {});
    domain_.areContentsRead_ = true;
  }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;
  ~Writing() {
    ChangedKeys written;
    const std::lock_guard lock(domain_.mutex_);
    written = std::exchange(domain_.inWriting_, {});
    domain_.areContentsRead_ = false;
    if (!isDone_) {
      std::swap(domain_.pending_, written);
      domain_.pending_.addAll(written);  // hardly ever any, so that hardly ever memory is needed
    }
  }

  void beDone() noexcept { isDone_ = true; }

  Ref<NSDictionary> whole;

 private:
  PreferencesDomain& domain_;
  bool isDone_ = false;
};

PreferencesDomain::PreferencesDomain(const Ref<NSString>& name, const PreferencesFolder& folder,
                                     std::atomic<std::uint64_t>& changes)
    : name_(copyOf(name)),
      folder_(folder),
      fileName_(fileStemForDomain(name) + ".plist"),
      filePath_(folder.path() + "/" + fileName_),
      lockName_(fileStemForDomain(name) + ".lock"),
      changes_(changes),
      number_(nextNumber()),
      contents_(NSMutableDictionary::dictionary()) {}

id PreferencesDomain::objectForKey(const id& key) {
  load();
  const std::lock_guard lock(mutex_);
  return contents_->objectForKey(key);
}

void PreferencesDomain::setValue_forKey(const id& value, id key) {
  load();
  {
    const std::lock_guard lock(mutex_);
    change(std::move(key), value);
  }
  knownHere().erase(number_);
}

Ref<NSDictionary> PreferencesDomain::contents() {
  load();
  const std::lock_guard lock(mutex_);
  return knownHere()[number_] = snapshot();
}

void PreferencesDomain::setContents(const Ref<NSDictionary>& contents) {
  const auto known = knownHere().find(number_);
  const bool isKnown = known != knownHere().end();
  if (!isKnown) {
    synchronize();
  }
  const auto before = isKnown ? known->second : this->contents();
  changePending(differences(before, contents));
}

void PreferencesDomain::addEntriesTo(NSMutableDictionary& dictionary) {
  load();
  const std::lock_guard lock(mutex_);
  dictionary.addEntriesFromDictionary(contents_);
}

void PreferencesDomain::removeAll() {
  synchronize();
  ObjectMap changed;
  for (const id& key : contents()) {
    changed[key] = nullptr;
  }
  changePending(changed);
}

bool PreferencesDomain::isEmpty() {
  load();
  const std::lock_guard lock(mutex_);
  return contents_->count() == 0;
}

bool PreferencesDomain::hasPendingChanges() {
  const std::lock_guard lock(mutex_);
  return !pending_.isEmpty() || !inWriting_.isEmpty();
}

bool PreferencesDomain::synchronize() {
  const std::lock_guard lock(fileMutex_);
  Ref<NSString> problem;
  try {
    bringInStep();
  } catch (const PreferencesFault& fault) {
    problem = fault.problem;
  }
  isLoaded_.store(true, std::memory_order_release);
  tell(problem);
  return problem == nullptr;
}

void PreferencesDomain::load() {
  if (!isLoaded_.load(std::memory_order_acquire)) {
    synchronize();
  }
}

void PreferencesDomain::changePending(const ObjectMap& changed) {
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, value] : changed) {
      change(key, value);
    }
  }
  knownHere().erase(number_);
}

/// Under the mutex. What throws has changed nothing.
void PreferencesDomain::change(id key, const id& value) {
  const id& changed = pending_.add(std::move(key));
  try {
    apply(changed, value);
  } catch (...) {
    pending_.takeBack();
    throw;
  }
}

/// Under the mutex. Contents that are just being written are not changed any more, but copied.
void PreferencesDomain::apply(const id& key, const id& value) {
  if (areContentsRead_) {
    contents_ = NSMutableDictionary::dictionaryWithDictionary(contents_);
    areContentsRead_ = false;
  }
  if (value) {
    contents_->setObject_forKey(value, key);
  } else {
    contents_->removeObjectForKey(key);
  }
  snapshot_ = nullptr;
  ++changes_;
}

/// Under the mutex.
Ref<NSDictionary> PreferencesDomain::snapshot() {
  if (!snapshot_) {
    snapshot_ = cast<NSDictionary>(contents_->copy());
  }
  return snapshot_;
}

/// After a wait in vain there is none for as long again: whoever sets a value, synchronizes and
/// ends waits once.
PreferencesLock PreferencesDomain::lockIn(int folder) {
  using Time = std::chrono::steady_clock;
  const auto start = Time::now();
  const bool isPatient = start >= patientAgain_;
  try {
    return {folder_, folder, lockName_, isPatient ? PreferencesLock::kPatience : kNoPatience};
  } catch (const PreferencesFault&) {
    const bool wasInVain = Time::now() - start >= PreferencesLock::kPatience;
    patientAgain_ = wasInVain ? Time::now() + PreferencesLock::kPatience : patientAgain_;
    throw;
  }
}

void PreferencesDomain::bringInStep() {
  if (fileName_.size() > kLongestFileName) {
    throw PreferencesFault{"the name of the domain is too long for a file"};
  }
  if (hasPendingChanges()) {
    writePending();
  } else {
    readNew();
  }
}

/// Without the lock, so that what can't be written to can be read.
void PreferencesDomain::readNew() {
  if (seen_.file && identityAt(filePath_) == seen_.identity) {
    return;
  }
  const FileDescriptor folder = folder_.open();
  if (!folder) {
    return seen_.identity == FileIdentity() ? void() : take({{}, NSDictionary::dictionary()});
  }
  const PreferencesFile file(folder_, folder.get(), fileName_);
  if (file.identity() == seen_.identity) {
    return;
  }
  try {
    take(file.read());
  } catch (const DamagedPreferences&) {
    replaceDamaged(folder.get(), file);
  }
}

void PreferencesDomain::replaceDamaged(int folder, const PreferencesFile& file) {
  try {
    const PreferencesLock lock = lockIn(folder);
    adopt(file);
  } catch (const PreferencesFault& fault) {
    throw PreferencesFault{NSString::stringWithFormat(
        "the file is damaged, and cannot be put aside: %@", fault.problem)};
  }
}

void PreferencesDomain::writePending() {
  const FileDescriptor folder = folder_.openOrMake();
  const PreferencesLock lock = lockIn(folder.get());
  const PreferencesFile file(folder_, folder.get(), fileName_);
  if (file.identity() != seen_.identity) {
    adopt(file);
  }
  Writing writing(*this);
  write(file, writing.whole);
  writing.beDone();
}

/// Under the domain's lock.
void PreferencesDomain::adopt(const PreferencesFile& file) {
  try {
    take(file.read());
  } catch (const DamagedPreferences& damage) {
    take(putAside(file, damage.problem));
  }
}

void PreferencesDomain::take(PreferencesFile::Contents read) {
  see(std::move(read.seen));
  image_.forget();
  const std::lock_guard lock(mutex_);
  const auto here =
      std::exchange(contents_, NSMutableDictionary::dictionaryWithDictionary(read.dictionary));
  snapshot_ = read.dictionary;
  ++changes_;
  for (const id& key : pending_.all()) {
    apply(key, here->objectForKey(key));
  }
}

void PreferencesDomain::see(SeenFile seen) {
  letGoOfReplaced(std::exchange(seen_, std::move(seen)).file);
}

PreferencesFile::Contents PreferencesDomain::putAside(const PreferencesFile& file,
                                                      const Ref<NSString>& problem) {
  const std::string name = file.putAside();
  NSLog("The preferences of %@ were damaged, and are kept as %s: %@", name_, name, problem);
  return {{}, NSDictionary::dictionary()};
}

/// What is being written may be looked at without the mutex: nobody else changes it.
std::span<const std::byte> PreferencesDomain::bytesOf(const Ref<NSDictionary>& whole) {
  try {
    return image_.bytesOf(whole, inWriting_.all());
  } catch (const PropertyListFault& fault) {
    throw PreferencesFault{fault.problem};
  }
}

/// A domain without keys has no file. What fails while replaced files still take room is tried once
/// more without them.
void PreferencesDomain::write(const PreferencesFile& file, const Ref<NSDictionary>& whole) {
  if (whole->count() == 0) {
    image_.forget();
    file.remove();
    return see({});
  }
  const auto bytes = bytesOf(whole);
  // Asked first: the room may have come by the time that the lack of it is known.
  const bool comesRoom = isRoomComing();
  try {
    see(file.replace(bytes));
  } catch (const PreferencesFault&) {
    if (!comesRoom) {
      throw;
    }
    awaitRoomOfReplaced();
    see(file.replace(bytes));
  }
}

/// Null for none. The same one is told once.
void PreferencesDomain::tell(const Ref<NSString>& problem) {
  const bool isNew = problem && !problem->isEqualToString(toldProblem_);
  if (isNew && hasPendingChanges()) {
    NSLog("The preferences of %@ cannot be written and wait in memory: %@", name_, problem);
  } else if (isNew) {
    NSLog("The preferences of %@ cannot be read: %@", name_, problem);
  }
  toldProblem_ = problem;
}

}  // namespace kestova

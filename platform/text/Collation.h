// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>
#include <unicode/coll.h>

#include <memory>
#include <string>

namespace kestova {

/// What tells texts apart to a reader.
enum class Distinctions {
  all,          ///< letters, accents, case
  exceptCase,   ///< letters and accents
  asFileNames,  ///< the same, and numbers count by their value
};

/// The order in which readers of a locale expect texts. Immutable; any number of threads may
/// compare at a time.
class Collation {
 public:
  explicit Collation(const std::string& localeIdentifier, Distinctions distinctions);

  NSComparisonResult compare(const NSString& a, const NSString& b) const;

 private:
  std::unique_ptr<icu::Collator> collator_;
};

/// The current locale's.
const Collation& currentCollation(Distinctions distinctions);

}  // namespace kestova

// SPDX-License-Identifier: Apache-2.0
#include "text/RegexError.h"

#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSDictionary.h>

#include <utility>

namespace kestova {
namespace {

const char* explanationOf(UErrorCode status) {
  constexpr std::pair<UErrorCode, const char*> kExplanations[] = {
      {U_ILLEGAL_ARGUMENT_ERROR, "The pattern is empty"},
      {U_REGEX_RULE_SYNTAX, "Something stands where it can't"},
      {U_REGEX_BAD_ESCAPE_SEQUENCE, "There is no such escape"},
      {U_REGEX_PROPERTY_SYNTAX, "There is no such property of characters"},
      {U_REGEX_MISMATCHED_PAREN, "A parenthesis lacks its partner"},
      {U_REGEX_NUMBER_TOO_BIG, "A number is too large"},
      {U_REGEX_BAD_INTERVAL, "A number of repetitions is written wrong"},
      {U_REGEX_MAX_LT_MIN, "The most repetitions are fewer than the fewest"},
      {U_REGEX_INVALID_BACK_REF, "There is no such group to refer back to"},
      {U_REGEX_INVALID_FLAG, "There is no such flag"},
      {U_REGEX_LOOK_BEHIND_LIMIT, "What is looked back for may be of any length"},
      {U_REGEX_SET_CONTAINS_STRING, "A set holds more than characters"},
      {U_REGEX_MISSING_CLOSE_BRACKET, "A bracket lacks its partner"},
      {U_REGEX_INVALID_RANGE, "A range of characters runs backwards"},
      {U_REGEX_PATTERN_TOO_BIG, "The pattern is too long"},
      {U_REGEX_INVALID_CAPTURE_GROUP_NAME, "A group's name is unknown or not allowed"},
      {U_REGEX_INTERNAL_ERROR, "The pattern is nested too deeply"},
  };
  for (const auto& [code, explanation] : kExplanations) {
    if (code == status) {
      return explanation;
    }
  }
  return u_errorName(status);
}

Ref<NSString> reasonFor(UErrorCode status, const UParseError& place) {
  const char* explanation = explanationOf(status);
  return place.line <= 0 ? NSString::stringWithFormat("%s.", explanation)
                         : NSString::stringWithFormat("%s: line %d, character %d.", explanation,
                                                      place.line, place.offset);
}

}  // namespace

Ref<NSError> errorForPattern(const Ref<NSString>& pattern, UErrorCode status,
                             const UParseError& place) {
  return NSError::errorWithDomain_code_userInfo(
      NSCocoaErrorDomain, NSFormattingError,
      NSDictionary::of({{NSLocalizedDescriptionKey,
                         NSString::stringWithFormat("The value “%@” is invalid.", pattern)},
                        {NSLocalizedFailureReasonErrorKey, reasonFor(status, place)},
                        {"NSInvalidValue", copyOf(pattern)}}));
}

}  // namespace kestova

// SPDX-License-Identifier: Apache-2.0
#include "AuthorizedTool.h"

#include <KestovaPlatform/NSException.h>

#include <optional>
#include <string>
#include <vector>

#include "Additions/PathArgument.h"

namespace kestova {
namespace {

/// The strings as a program gets them; nothing when it can't.
std::optional<std::vector<std::string>> wordsOf(const Ref<NSArray>& arguments) {
  std::vector<std::string> words;
  for (NSUInteger index = 0; arguments && index < arguments->count(); ++index) {
    const auto argument = cast<NSString>(arguments->objectAtIndex(index));
    if (!argument) {
      return std::nullopt;
    }
    words.push_back(argument->fileSystemRepresentation());
  }
  return words;
}

std::vector<const char*> listOf(const std::vector<std::string>& words) {
  std::vector<const char*> list;
  list.reserve(words.size() + 1);
  for (const std::string& word : words) {
    list.push_back(word.c_str());
  }
  list.push_back(nullptr);
  return list;
}

}  // namespace

Ref<NSArray> toolArguments(const Ref<NSArray>& options,
                           std::initializer_list<Ref<NSString>> paths) {
  auto arguments = options;
  for (const Ref<NSString>& path : paths) {
    if (!path || path->length() == 0) {
      return nullptr;
    }
    arguments = arguments->arrayByAddingObject(pathArgument(path));
  }
  return arguments;
}

OSStatus startTool(const AuthorizationRef& authorization, const Ref<NSString>& tool,
                   const Ref<NSArray>& arguments, AuthorizationFlags options) {
  try {
    const auto words = wordsOf(arguments);
    return tool && words ? AuthorizationExecuteWithPrivileges(
                               authorization, tool->fileSystemRepresentation().c_str(), options,
                               listOf(*words).data())
                         : errAuthorizationToolExecuteFailure;
  } catch (const NSException&) {
    return errAuthorizationToolExecuteFailure;
  }
}

}  // namespace kestova

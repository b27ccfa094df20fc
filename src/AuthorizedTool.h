// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Authorization.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSString.h>

#include <initializer_list>

namespace kestova {

/// The options and then the paths, as a tool takes them: no path is read as an option, whatever it
/// begins with. Null when one of the paths is null or empty, which names nothing.
Ref<NSArray> toolArguments(const Ref<NSArray>& options, std::initializer_list<Ref<NSString>> paths);

/// Starts a tool with strings (null: none). −60031 for a tool or an argument that no program can
/// have.
OSStatus startTool(const AuthorizationRef& authorization, const Ref<NSString>& tool,
                   const Ref<NSArray>& arguments,
                   AuthorizationFlags options = kAuthorizationFlagDefaults);

}  // namespace kestova

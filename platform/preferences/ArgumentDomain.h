// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>

#include <string>
#include <vector>

namespace kestova {

/// The arguments of the running program, the first one after its name.
std::vector<std::string> programArguments();

/// What arguments say of preferences: each "-Key" followed by a value sets the text under "Key", of
/// several the last one. A value doesn't begin with "-" unless it is a number. Arguments that are
/// no UTF-8 and all behind "--" are left out.
Ref<NSDictionary> argumentDomain(const std::vector<std::string>& arguments);

}  // namespace kestova

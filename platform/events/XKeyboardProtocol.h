// SPDX-License-Identifier: Apache-2.0
#pragma once
#pragma GCC system_header

// The protocol of the X keyboard extension, whose header names a field `explicit`. Compilers let
// only headers of the system redefine a word of the language.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

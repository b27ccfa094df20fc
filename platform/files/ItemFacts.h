// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <string>

namespace kestova {

/// What the file system knows of an item, with the mount that it lies in. A symbolic link at the
/// end is not followed, and nothing is mounted for the sake of the question. The path may be longer
/// than any system call takes. Answers 0 or the error number.
int readItemFacts(const std::string& path, struct statx& facts);

}  // namespace kestova

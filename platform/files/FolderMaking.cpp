// SPDX-License-Identifier: Apache-2.0
#include "files/FolderMaking.h"

#include "files/NativePath.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <vector>

namespace kestova {
namespace {

/// Makes one folder, for now with permissions that let its owner go on in it. 0 or the error
/// number.
int makeUnfinished(const std::string& path, std::optional<mode_t> permissions) {
  const mode_t mode = permissions ? (*permissions & 0777) | 0300 : 0777;
  return mkdir(path.c_str(), mode) == 0 ? 0 : errno;
}

/// Gives the folders that were made their permissions, from the inside out, for these may forbid to
/// go on. 0 or the first error number.
int finishFolders(const std::vector<std::string>& made, std::optional<mode_t> permissions) {
  int error = 0;
  for (auto folder = made.rbegin(); permissions && folder != made.rend(); ++folder) {
    if (chmod(folder->c_str(), *permissions) != 0 && error == 0) {
      error = errno;
    }
  }
  return error;
}

}  // namespace

int makeFolder(const std::string& path, std::optional<mode_t> permissions) {
  const int error = makeUnfinished(path, permissions);
  return error == 0 ? finishFolders({path}, permissions) : error;
}

/// Each is first made and only then looked at, because another process may make it at any instant.
int makeFolders(const std::string& path, std::optional<mode_t> permissions) {
  std::vector<std::string> made;
  int error = 0;
  for (std::size_t end = 0; end != path.npos && error == 0;) {
    end = path.find('/', end + 1);
    const std::string folder = path.substr(0, end);
    error = makeUnfinished(folder, permissions);
    if (error == 0) {
      made.push_back(folder);
    } else if (isFolder(folder)) {
      error = 0;
    }
  }
  const int finishing = finishFolders(made, permissions);
  return error != 0 ? error : finishing;
}

}  // namespace kestova

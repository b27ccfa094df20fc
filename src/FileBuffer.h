// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace kestova {

#ifdef __GLIBC__

/// The same shortcut that the C library's own putc_unlocked and getc_unlocked take, for several
/// bytes at once: what fits into the file's buffer goes there directly. In the other direction of a
/// file that is both read and written the buffer shows no room, so that the library sees every
/// turn.
inline bool putIntoBuffer(std::FILE* file, const void* bytes, std::size_t count) {
  if (count == 0 || static_cast<std::size_t>(file->_IO_write_end - file->_IO_write_ptr) < count) {
    return false;
  }
  std::memcpy(file->_IO_write_ptr, bytes, count);
  file->_IO_write_ptr += count;
  return true;
}

inline bool takeFromBuffer(std::FILE* file, void* bytes, std::size_t count) {
  if (count == 0 || static_cast<std::size_t>(file->_IO_read_end - file->_IO_read_ptr) < count) {
    return false;
  }
  std::memcpy(bytes, file->_IO_read_ptr, count);
  file->_IO_read_ptr += count;
  return true;
}

#else

inline bool putIntoBuffer(std::FILE*, const void*, std::size_t) { return false; }
inline bool takeFromBuffer(std::FILE*, void*, std::size_t) { return false; }

#endif

/// Writes bytes to a file that one thread uses at a time; answers how many were taken.
inline std::size_t writeBytes(std::FILE* file, const void* bytes, std::size_t count) {
  return putIntoBuffer(file, bytes, count) ? count : fwrite_unlocked(bytes, 1, count, file);
}

/// Reads bytes from a file that one thread uses at a time; answers how many there were.
inline std::size_t readBytes(std::FILE* file, void* bytes, std::size_t count) {
  return takeFromBuffer(file, bytes, count) ? count : fread_unlocked(bytes, 1, count, file);
}

}  // namespace kestova

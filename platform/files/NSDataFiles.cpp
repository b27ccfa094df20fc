// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSURL.h>

#include "files/FileError.h"
#include "files/NativePath.h"
#include "files/WholeFile.h"

#include <cerrno>

namespace kestova {
namespace {

bool isOfFile(const Ref<NSURL>& url) { return url && url->isFileURL(); }

NSUInteger optionsFor(bool atomically) { return atomically ? NSUInteger{NSDataWritingAtomic} : 0; }

/// 0 or the error number.
int writeFile(const std::string& path, std::span<const std::byte> contents, NSUInteger options) {
  if ((options & NSDataWritingAtomic) != 0) {
    return replaceWholeFile(path, contents);
  }
  return (options & NSDataWritingWithoutOverwriting) != 0 ? createWholeFile(path, contents)
                                                          : writeWholeFile(path, contents);
}

}  // namespace

Ref<NSData> NSData::dataWithContentsOfFile(const Ref<NSString>& path) {
  return dataWithContentsOfFile_options_error(path, 0);
}

Ref<NSData> NSData::dataWithContentsOfFile_options_error(const Ref<NSString>& path, NSUInteger,
                                                         Ref<NSError>* error) {
  const auto native = nativePath(path);
  const auto contents = NSMutableData::data();
  if (const int number = native ? readWholeFile(*native, *contents) : EILSEQ; number != 0) {
    failWith(error, fileError(FileAccess::reading, path, number));
    return nullptr;
  }
  return taking(*contents);
}

Ref<NSData> NSData::dataWithContentsOfURL(const Ref<NSURL>& url) {
  return dataWithContentsOfURL_options_error(url, 0);
}

Ref<NSData> NSData::dataWithContentsOfURL_options_error(const Ref<NSURL>& url, NSUInteger options,
                                                        Ref<NSError>* error) {
  if (!isOfFile(url)) {
    failWith(error, schemeError(FileAccess::reading, url));
    return nullptr;
  }
  return dataWithContentsOfFile_options_error(url->path(), options, error);
}

bool NSData::writeToFile_atomically(const Ref<NSString>& path, bool atomically) const {
  return writeToFile_options_error(path, optionsFor(atomically));
}

bool NSData::writeToURL_atomically(const Ref<NSURL>& url, bool atomically) const {
  return writeToURL_options_error(url, optionsFor(atomically));
}

bool NSData::writeToFile_options_error(const Ref<NSString>& path, NSUInteger options,
                                       Ref<NSError>* error) const {
  constexpr NSUInteger kContradiction = NSDataWritingAtomic | NSDataWritingWithoutOverwriting;
  if ((options & kContradiction) == kContradiction) {
    throw NSException(NSInvalidArgumentException,
                      "A file can't be written atomically without overwriting.");
  }
  const auto native = nativePath(path);
  const int number = native ? writeFile(*native, span(), options) : EILSEQ;
  return number == 0 || failWith(error, fileError(FileAccess::writing, path, number));
}

bool NSData::writeToURL_options_error(const Ref<NSURL>& url, NSUInteger options,
                                      Ref<NSError>* error) const {
  return isOfFile(url) ? writeToFile_options_error(url->path(), options, error)
                       : failWith(error, schemeError(FileAccess::writing, url));
}

}  // namespace kestova

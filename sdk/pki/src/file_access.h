#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>
#include <vector>

#include "uabase/status.h"

namespace pki {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t certificateFileLimit = std::size_t{256} * 1024;
constexpr std::size_t revocationListFileLimit = std::size_t{32} * 1024 * 1024;
constexpr mode_t keyFileMode = 0600;
constexpr std::size_t keyFileLimit = std::size_t{64} * 1024;

/// Reads a regular file into `content`, allocating once. BadNotFound when there is none, BadOutOfRange when
/// it has more than `limit` bytes, BadNotReadable when it cannot be read; `problem` then says why.
UaStatus readFile(const std::string& path, std::size_t limit, Bytes& content, std::string& problem);

/// Writes a file that appears whole, flushed to the disk, or not at all: under another name first, then
/// renamed. A symbolic link stays and its target is written, unless another user has made the link. False,
/// with the reason in the trace, when it cannot be written; what was there before is then untouched, but
/// where the disk has failed at the last, on the directory.
bool writeFileAtomically(const std::string& path, const void* data, std::size_t length, mode_t mode);

/// Whether writeFileAtomically() would come to the renaming: writes the file under the other name and removes
/// it. False, with the reason in the trace, when not.
bool couldWriteFile(const std::string& path, const void* data, std::size_t length, mode_t mode);

/// Writes a file that was not there, flushed to the disk. False, with the reason in errno, when there is one,
/// or it cannot be written; nothing is left then that was not there.
bool writeNewFile(const std::string& path, const void* data, std::size_t length, mode_t mode);

/// What the system says of an errno.
std::string errorText(int error);

enum class Access { Read, Write };
/// Who beside this user and root may read or write a file or directory, for messages; empty when nobody may,
/// or there is no such file.
std::string whoElseMay(Access access, const std::string& path);

} // namespace pki

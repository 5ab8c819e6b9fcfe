#pragma once

#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/files/file_io.h"

namespace zforms {

// Like ReadFile, but a regular file of 1 MB or more is mapped into memory where the system can do this (implemented by
// mapped_file_posix.cpp; mapped_file_win32.cpp reads): only the parts that are used are read, and the memory for them
// is shared with the system's cache. The text has room at its end, so appending to it copies nothing. Where
// mapping fails, the file is read.
//
// Another program must not change the file while the text is in use: parts that were not used before would show the
// change. If it truncates the file, reading the lost part raises SIGBUS (see MappedFileAt). Renaming another file over
// this one does no harm, and OsFile::Replace by this process keeps the text as it was read.
ZFORMS_API bool MapFile(const Chaine& path, Chaine* out, std::string* error, const ReadLimits& limits = {});

// The path of the mapped file to which the address belongs; null when there is none. For a handler of the signal
// SIGBUS, which may call it.
ZFORMS_API const char* MappedFileAt(const void* address) noexcept;

}  // namespace zforms

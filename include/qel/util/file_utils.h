// File and document helpers for scripting clients: each reports success as a boolean and
// never raises. Paths are UTF-16 texts, passed to the system as UTF-8.
#ifndef QEL_UTIL_FILE_UTILS_H_
#define QEL_UTIL_FILE_UTILS_H_

#include <cstdint>

#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

// Deletes the file named, or every file whose name matches the last path component when it
// holds the wildcards "*" (any run of characters, names that begin with a dot included) and
// "?" (one character). As on the desktop platforms this comes from, a pattern ending in ".*"
// also matches names without a dot ("*.*" matches every name). Nothing else is special: "[",
// "]" and "\" are ordinary characters, and wildcards in the folder part are taken literally.
// Names are compared as the file system stores them (with case). Directories are never
// deleted. True when at least one file matched and every matching file was deleted; it stops
// at the first file it cannot delete.
QEL_EXPORT bool DeleteFile(TextView file_name) noexcept;
// Creates one directory; the parent must exist. False when it exists already.
QEL_EXPORT bool MakeDirectory(TextView directory_path) noexcept;
// Removes one empty directory.
QEL_EXPORT bool RemoveDirectory(TextView directory_path) noexcept;
// Asks the desktop to open the document with the default application for its content type
// (GIO's application associations). True when such an application exists and was launched;
// false for an empty or missing path or a type with no associated application. It returns as
// soon as the launch is under way: it does not wait for the application and leaves no thread
// or process behind. `hwnd` identifies the caller's window on other desktops and is not used.
QEL_EXPORT bool OpenDocument(TextView document_path, int32_t hwnd = 0) noexcept;

}  // namespace qel

#endif  // QEL_UTIL_FILE_UTILS_H_

// File and document helpers for scripting clients: each reports success as a boolean and
// never raises. Paths are UTF-16 texts, passed to the system as UTF-8.
#ifndef QEL_UTIL_FILE_UTILS_H_
#define QEL_UTIL_FILE_UTILS_H_

#include <cstdint>
#include <string>

#include "qel/frame/text.h"

namespace qel {

// Deletes the file, or every file matching "*" and "?" in the last path component (glob(3);
// directories that match are left alone). True when at least one file matched and every
// matching file was deleted.
bool DeleteFile(TextView file_name) noexcept;
// Creates one directory; the parent must exist. False when it exists already.
bool MakeDirectory(TextView directory_path) noexcept;
// Removes one empty directory.
bool RemoveDirectory(TextView directory_path) noexcept;
// Asks the desktop to open the document with its associated application (xdg-open). True when
// the opener reported success; false when it failed, is missing or the path is empty. `hwnd`
// identifies the caller's window on other desktops and is not used here. An opener still
// running after a few seconds is taken as having succeeded and is left to run.
bool OpenDocument(TextView document_path, int32_t hwnd = 0) noexcept;

// Test hook: the program OpenDocument runs instead of "xdg-open" (empty restores it).
void SetDocumentOpenerForTesting(std::string program);

}  // namespace qel

#endif  // QEL_UTIL_FILE_UTILS_H_

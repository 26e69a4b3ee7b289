#include "qel/util/file_utils.h"

#include <dirent.h>
#include <gio/gio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qel {
namespace {

// Wildcard matching of `name` against `pattern` ("*" any run, "?" one byte of the UTF-8 name
// or one whole UTF-8 character). Greedy with one back-track point, so linear in practice and
// never worse than |pattern| * |name|.
size_t Utf8Length(std::string_view s, size_t i) {
  const unsigned char c = static_cast<unsigned char>(s[i]);
  size_t n = c < 0x80 ? 1 : c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
  return i + n <= s.size() ? n : 1;
}

bool MatchesWildcards(std::string_view pattern, std::string_view name) {
  size_t p = 0, n = 0;
  size_t star = std::string_view::npos, resume = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = n;
    } else if (p < pattern.size() && pattern[p] == '?') {
      ++p;
      n += Utf8Length(name, n);
    } else if (p < pattern.size() && pattern[p] == name[n]) {
      ++p;
      ++n;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      resume += Utf8Length(name, resume);
      n = resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

bool MatchesFileSpec(std::string_view pattern, std::string_view name) {
  if (MatchesWildcards(pattern, name)) return true;
  // "name.*" also names "name" (an empty extension).
  return pattern.size() >= 2 && pattern.substr(pattern.size() - 2) == ".*" &&
         name.find('.') == std::string_view::npos &&
         MatchesWildcards(pattern.substr(0, pattern.size() - 2), name);
}

bool IsDirectory(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool DeleteMatching(const std::string& folder, std::string_view pattern) {
  std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(folder.empty() ? "." : folder.c_str()), closedir);
  if (!dir) return false;
  // Collect first: deleting while reading a directory may show or skip entries.
  std::vector<std::string> matches;
  while (const dirent* entry = readdir(dir.get())) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (MatchesFileSpec(pattern, name)) matches.emplace_back(folder + std::string(name));
  }
  size_t deleted = 0;
  for (const std::string& path : matches) {
    if (IsDirectory(path)) continue;
    if (unlink(path.c_str()) != 0) return false;
    ++deleted;
  }
  return deleted > 0;
}

template <class T>
struct GObjectUnref {
  void operator()(T* p) const { g_object_unref(p); }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref<T>>;

}  // namespace

bool DeleteFile(TextView file_name) noexcept {
  try {
    const std::string path = ToUtf8(file_name);
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    const std::string_view last = std::string_view(path).substr(folder.size());
    if (last.empty()) return false;
    if (last.find_first_of("*?") == std::string_view::npos) {
      return !IsDirectory(path) && unlink(path.c_str()) == 0;
    }
    return DeleteMatching(folder, last);
  } catch (...) {
    return false;
  }
}

bool MakeDirectory(TextView directory_path) noexcept {
  try {
    const std::string path = ToUtf8(directory_path);
    return !path.empty() && mkdir(path.c_str(), 0777) == 0;
  } catch (...) {
    return false;
  }
}

bool RemoveDirectory(TextView directory_path) noexcept {
  try {
    const std::string path = ToUtf8(directory_path);
    return !path.empty() && rmdir(path.c_str()) == 0;
  } catch (...) {
    return false;
  }
}

bool OpenDocument(TextView document_path, int32_t) noexcept {
  try {
    const std::string path = ToUtf8(document_path);
    if (path.empty()) return false;
    GObjectPtr<GFile> file(g_file_new_for_path(path.c_str()));
    GObjectPtr<GFileInfo> info(g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                                 G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    if (!info) return false;
    const char* type = g_file_info_get_content_type(info.get());
    if (!type) return false;
    GObjectPtr<GAppInfo> app(g_app_info_get_default_for_type(type, FALSE));
    if (!app) return false;
    GList files{file.get(), nullptr, nullptr};
    // The launch spawns the application detached (GLib reaps it through an intermediate
    // child), so nothing is left to wait for.
    return g_app_info_launch(app.get(), &files, nullptr, nullptr) != FALSE;
  } catch (...) {
    return false;
  }
}

}  // namespace qel

#include "qel/util/file_utils.h"

#include <glob.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

extern char** environ;

namespace qel {
namespace {

std::string& Opener() {
  static std::string program;  // set only by the test hook
  return program;
}

bool IsRegularFileOrLink(const char* path) {
  struct stat st;
  return lstat(path, &st) == 0 && !S_ISDIR(st.st_mode);
}

}  // namespace

bool DeleteFile(TextView file_name) noexcept {
  try {
    const std::string pattern = ToUtf8(file_name);
    if (pattern.empty()) return false;
    glob_t g{};
    // GLOB_NOESCAPE: a backslash in a name is a character, not an escape.
    const int rc = glob(pattern.c_str(), GLOB_NOESCAPE | GLOB_NOSORT, nullptr, &g);
    bool ok = rc == 0;
    size_t deleted = 0;
    for (size_t i = 0; ok && i < g.gl_pathc; ++i) {
      if (!IsRegularFileOrLink(g.gl_pathv[i])) continue;
      if (unlink(g.gl_pathv[i]) == 0) {
        ++deleted;
      } else {
        ok = false;
      }
    }
    globfree(&g);
    return ok && deleted > 0;
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
    const std::string program = Opener().empty() ? "xdg-open" : Opener();
    char* argv[] = {const_cast<char*>(program.c_str()), const_cast<char*>(path.c_str()),
                    nullptr};
    pid_t pid;
    if (posix_spawnp(&pid, program.c_str(), nullptr, nullptr, argv, environ) != 0) return false;
    // Openers normally hand the document over and exit at once; give one a few seconds.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    for (;;) {
      int status = 0;
      const pid_t r = waitpid(pid, &status, WNOHANG);
      if (r == pid) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
      if (r < 0 && errno != EINTR) return false;
      if (std::chrono::steady_clock::now() > deadline) {
        // Still running: it opened something in the foreground. Reap it when it ends.
        std::thread([pid] {
          int st;
          waitpid(pid, &st, 0);
        }).detach();
        return true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  } catch (...) {
    return false;
  }
}

void SetDocumentOpenerForTesting(std::string program) { Opener() = std::move(program); }

}  // namespace qel

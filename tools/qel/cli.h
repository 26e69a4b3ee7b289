// Shared plumbing of the qel subcommands: exit statuses, error reports, inputs (files or
// stdin, "-" for stdin), outputs written whole or not at all, and a progress line.
#ifndef QEL_TOOLS_QEL_CLI_H_
#define QEL_TOOLS_QEL_CLI_H_

#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "qel/frame/error.h"

namespace qel::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Thrown for a command line that cannot be obeyed; main prints it with the command's usage
// hint and exits with kExitUsage.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A subcommand: its words after "qel" (e.g. {"rut", "validate"} is reached through the "rut"
// entry, which dispatches further itself), a one-line summary for "qel --help", and its body,
// which receives the arguments after its name.
struct Command {
  const char* name;
  const char* summary;
  int (*run)(std::span<char* const> args);
};

// "qel: error 13 (QelRecord.SetValue): Tipo no coincide" on stderr; returns kExitFailed.
int ReportError(const qel::Error& e);
// "qel: TEXT" on stderr; returns kExitFailed.
int ReportFailure(std::string_view text);

// True when args holds "-h" or "--help".
bool WantsHelp(std::span<char* const> args);

// Calls fn for each line of each named file ("-" or no files: stdin), without its line end
// ("\n" or "\r\n"). Lines must be valid UTF-8: a line that is not fails with a message naming
// the file and line. Returns false when fn returned false (stop early).
bool ForEachLine(std::span<const std::string> files,
                 const std::function<bool(std::string_view line, const std::string& where)>& fn);
// The whole content of a file ("-": stdin).
std::string ReadAll(const std::string& file);

// An output that is either stdout ("-" or empty path) or a file written beside its final
// name and renamed over it by Commit(); destroyed without Commit() it leaves nothing behind.
class Output {
 public:
  explicit Output(const std::string& path);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void Write(std::string_view bytes);
  std::FILE* stream() { return file_; }
  void Commit();

 private:
  std::string path_;
  std::string temp_;
  std::FILE* file_ = nullptr;
};

// A progress line on stderr ("\r12.345 registros, 250.000 registros/s, 37 %"), shown only
// when stderr is a terminal and the work has run longer than a second. total 0: unknown.
class Progress {
 public:
  Progress(const char* unit, uint64_t total_bytes);
  ~Progress();
  // Call often; it looks at the clock only every few thousand calls.
  void Tick(uint64_t items, uint64_t bytes_done);
  void Finish();

 private:
  const char* unit_;
  uint64_t total_;
  bool enabled_;
  bool shown_ = false;
  uint32_t calls_ = 0;
  int64_t start_ns_;
  int64_t last_ns_;
};

}  // namespace qel::cli

#endif  // QEL_TOOLS_QEL_CLI_H_

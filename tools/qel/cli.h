// Shared plumbing of the qel subcommands: exit statuses, error reports, inputs (files or
// stdin, "-" for stdin), outputs written whole or not at all, and a progress line.
#ifndef QEL_TOOLS_QEL_CLI_H_
#define QEL_TOOLS_QEL_CLI_H_

#include <cstdint>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
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

// "error 13 (QelRecord.SetValue): Tipo no coincide": number (and its hexadecimal form when
// negative), source and description, the description's line breaks shown as " / ".
std::string Describe(const qel::Error& e);
// "qel: error 13 (QelRecord.SetValue): Tipo no coincide" on stderr; returns kExitFailed.
int ReportError(const qel::Error& e);
// "qel: TEXT" on stderr; returns kExitFailed.
int ReportFailure(std::string_view text);

// "qel: WHERE: error 13 (...): ..." on stderr, for an error met at a place of the input
// ("datos.txt:12"); returns kExitFailed.
int ReportError(const qel::Error& e, std::string_view where);

// True when args holds "-h" or "--help".
bool WantsHelp(std::span<char* const> args);

// A command line split into options and operands. Options are "--name VALUE", "--name=VALUE"
// or a bare "--name" flag, and "-x VALUE" or "-x" for one-letter names; "--" ends the options;
// "-" is an operand (stdin).
struct ParsedArgs {
  std::vector<std::pair<std::string, std::string>> options;  // name without "--", value
  std::vector<std::string> operands;

  bool Has(std::string_view name) const;
  // The value of the last occurrence of an option, or `fallback`.
  std::string Get(std::string_view name, std::string_view fallback = {}) const;
};
// Throws UsageError for an option outside `with_value` and `flags`, or one of `with_value`
// without its value.
ParsedArgs ParseArgs(std::span<char* const> args, std::initializer_list<std::string_view> with_value,
                     std::initializer_list<std::string_view> flags = {});
// `value` when it is one of `allowed`, else UsageError naming the option.
std::string OneOf(const ParsedArgs& args, std::string_view name, std::string_view fallback,
                  std::initializer_list<std::string_view> allowed);

// "datos.txt:12" ("<stdin>:12" for "-").
std::string Where(const std::string& file, uint64_t line);

// Calls fn for each line of each named file ("-" or no files: stdin), without its line end
// ("\n" or "\r\n"). Lines must be valid UTF-8: a line that is not fails with a message naming
// the file and line. Returns false when fn returned false (stop early).
bool ForEachLine(std::span<const std::string> files,
                 const std::function<bool(std::string_view line, const std::string& where)>& fn);
// Calls fn for each line of each named file ("-" or no files: stdin) as raw bytes without its
// line end ("\n" or "\r\n"), with the file's name and the line's number; no check of the
// encoding, for files of fixed-width records. Reads in large blocks. `bytes_done`, when given,
// counts the bytes consumed so far (for a Progress). Returns false when fn returned false.
bool ForEachRawLine(std::span<const std::string> files,
                    const std::function<bool(std::string_view line, const std::string& file,
                                             uint64_t number)>& fn,
                    uint64_t* bytes_done = nullptr);
// The summed sizes of the named regular files; 0 when one is stdin or its size is unknown.
uint64_t TotalSize(std::span<const std::string> files);
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

// Output gathered a block at a time for an Output: formatters either append whole texts or
// write through a pointer (Room, then Commit), so a record's fields go into the block without
// a check of its size for each byte.
class OutputBlock {
 public:
  explicit OutputBlock(Output& out) : out_(out) {}

  // A place for up to `n` bytes after what the block holds; valid until the next call.
  char* Room(size_t n);
  // Keeps what was written at Room's place up to `end`.
  void Commit(const char* end) { size_ = static_cast<size_t>(end - data_.get()); }
  void Append(std::string_view bytes);
  // Writes the block to the output once it holds kBlock bytes or more; with `all`, whatever
  // it holds.
  void Drain(bool all = false);

 private:
  static constexpr size_t kBlock = size_t{1} << 16;
  Output& out_;
  std::unique_ptr<char[]> data_;
  size_t size_ = 0;
  size_t capacity_ = 0;
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

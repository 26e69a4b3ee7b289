#include "cli.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iostream>

#include "qel/frame/text.h"

namespace qel::cli {
namespace {

int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

std::string Grouped(uint64_t n) {
  std::string digits = std::to_string(n);
  for (int i = static_cast<int>(digits.size()) - 3; i > 0; i -= 3) digits.insert(i, ".");
  return digits;
}

}  // namespace

// "error 13 (QelRecord.SetValue): Tipo no coincide", the description on one line.
std::string Describe(const qel::Error& e) {
  std::string number = std::to_string(e.Number());
  if (e.Number() < 0) {
    char hex[16];
    std::snprintf(hex, sizeof hex, " (&H%08X)", static_cast<uint32_t>(e.Number()));
    number += hex;
  }
  std::string text = e.what();
  for (size_t p; (p = text.find("\r\n")) != std::string::npos;) text.replace(p, 2, " / ");
  return "error " + number + " (" + qel::ToUtf8(e.Source()) + "): " + text;
}

int ReportError(const qel::Error& e) {
  std::fprintf(stderr, "qel: %s\n", Describe(e).c_str());
  return kExitFailed;
}

int ReportError(const qel::Error& e, std::string_view where) {
  std::fprintf(stderr, "qel: %.*s: %s\n", static_cast<int>(where.size()), where.data(),
               Describe(e).c_str());
  return kExitFailed;
}

int ReportFailure(std::string_view text) {
  std::fprintf(stderr, "qel: %.*s\n", static_cast<int>(text.size()), text.data());
  return kExitFailed;
}

bool ParsedArgs::Has(std::string_view name) const {
  for (const auto& [n, v] : options) {
    if (n == name) return true;
  }
  return false;
}

std::string ParsedArgs::Get(std::string_view name, std::string_view fallback) const {
  std::string value(fallback);
  for (const auto& [n, v] : options) {
    if (n == name) value = v;
  }
  return value;
}

ParsedArgs ParseArgs(std::span<char* const> args, std::initializer_list<std::string_view> with_value,
                     std::initializer_list<std::string_view> flags) {
  ParsedArgs parsed;
  bool options_done = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string_view a = args[i];
    const bool short_option = !options_done && a.size() == 2 && a[0] == '-' && a[1] != '-';
    if (short_option) {  // "-o VALUE" or "-x" for the one-letter names listed
      const std::string name(a.substr(1));
      bool known = false;
      for (std::string_view n : with_value) known = known || n == name;
      if (known) {
        if (i + 1 >= args.size()) throw UsageError("falta el valor de -" + name);
        parsed.options.emplace_back(name, args[++i]);
        continue;
      }
      for (std::string_view n : flags) known = known || n == name;
      if (!known) throw UsageError("opción desconocida: " + std::string(a));
      parsed.options.emplace_back(name, std::string());
      continue;
    }
    if (options_done || a.size() < 2 || a.substr(0, 2) != "--") {
      parsed.operands.emplace_back(a);
      continue;
    }
    if (a == "--") {
      options_done = true;
      continue;
    }
    const size_t eq = a.find('=');
    const std::string name(a.substr(2, eq == std::string_view::npos ? a.npos : eq - 2));
    auto listed = [&](std::initializer_list<std::string_view> list) {
      for (std::string_view n : list) {
        if (n == name) return true;
      }
      return false;
    };
    if (listed(with_value)) {
      if (eq != std::string_view::npos) {
        parsed.options.emplace_back(name, std::string(a.substr(eq + 1)));
      } else if (i + 1 < args.size()) {
        parsed.options.emplace_back(name, args[++i]);
      } else {
        throw UsageError("falta el valor de --" + name);
      }
    } else if (listed(flags) && eq == std::string_view::npos) {
      parsed.options.emplace_back(name, std::string());
    } else {
      throw UsageError("opción desconocida: " + std::string(a));
    }
  }
  return parsed;
}

std::string OneOf(const ParsedArgs& args, std::string_view name, std::string_view fallback,
                  std::initializer_list<std::string_view> allowed) {
  const std::string value = args.Get(name, fallback);
  std::string list;
  for (std::string_view a : allowed) {
    if (a == value) return value;
    list += (list.empty() ? "" : "|") + std::string(a);
  }
  throw UsageError("--" + std::string(name) + " debe ser " + list + ", no '" + value + "'");
}

std::string Where(const std::string& file, uint64_t line) {
  return (file == "-" ? std::string("<stdin>") : file) + ":" + std::to_string(line);
}

bool WantsHelp(std::span<char* const> args) {
  for (const char* a : args) {
    if (std::strcmp(a, "-h") == 0 || std::strcmp(a, "--help") == 0) return true;
  }
  return false;
}

bool ForEachLine(std::span<const std::string> files,
                 const std::function<bool(std::string_view, const std::string&)>& fn) {
  static const std::string kStdin = "-";
  std::span<const std::string> names = files.empty() ? std::span(&kStdin, 1) : files;
  for (const std::string& name : names) {
    std::ifstream file;
    std::istream* in = &std::cin;
    if (name != "-") {
      file.open(name, std::ios::binary);
      if (!file) throw std::runtime_error(name + ": " + std::strerror(errno));
      in = &file;
    }
    const std::string shown = name == "-" ? std::string("<stdin>") : name;
    std::string line;
    for (uint64_t number = 1; std::getline(*in, line); ++number) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      const std::string where = shown + ":" + std::to_string(number);
      if (!qel::IsValidUtf8(line)) throw std::runtime_error(where + ": no es UTF-8 válido");
      if (!fn(line, where)) return false;
    }
  }
  return true;
}

bool ForEachRawLine(std::span<const std::string> files,
                    const std::function<bool(std::string_view, const std::string&, uint64_t)>& fn,
                    uint64_t* bytes_done) {
  static const std::string kStdin = "-";
  std::span<const std::string> names = files.empty() ? std::span(&kStdin, 1) : files;
  constexpr size_t kBlock = size_t{1} << 20;
  // [0, kept) holds the unfinished line of the previous block; a line longer than a block
  // grows the buffer.
  std::vector<char> buffer(2 * kBlock);
  for (const std::string& name : names) {
    std::FILE* in = stdin;
    if (name != "-") {
      in = std::fopen(name.c_str(), "rb");
      if (in == nullptr) throw std::runtime_error(name + ": " + std::strerror(errno));
    }
    struct Closer {
      std::FILE* f;
      ~Closer() {
        if (f != stdin) std::fclose(f);
      }
    } closer{in};
    size_t kept = 0;
    uint64_t number = 0;
    auto deliver = [&](const char* begin, const char* end) {
      std::string_view line(begin, static_cast<size_t>(end - begin));
      if (bytes_done != nullptr) *bytes_done += line.size() + 1;
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      return fn(line, name, ++number);
    };
    for (;;) {
      if (buffer.size() - kept < kBlock) buffer.resize(kept + kBlock);
      const size_t got = std::fread(buffer.data() + kept, 1, buffer.size() - kept, in);
      if (got == 0) {
        if (std::ferror(in)) throw std::runtime_error(name + ": " + std::strerror(errno));
        break;
      }
      const char* const base = buffer.data();
      const char* const end = base + kept + got;
      const char* line = base;
      for (const char* p = base + kept;
           (p = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)))) != nullptr;
           line = ++p) {
        if (!deliver(line, p)) return false;
      }
      kept = static_cast<size_t>(end - line);
      std::memmove(buffer.data(), line, kept);
    }
    if (kept > 0) {  // a last line without its line end
      if (bytes_done != nullptr) --*bytes_done;  // deliver counts a line end it lacks
      if (!deliver(buffer.data(), buffer.data() + kept)) return false;
    }
  }
  return true;
}

uint64_t TotalSize(std::span<const std::string> files) {
  uint64_t total = 0;
  for (const std::string& name : files) {
    struct stat st;
    if (name == "-" || stat(name.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return 0;
    total += static_cast<uint64_t>(st.st_size);
  }
  return total;
}

std::string ReadAll(const std::string& file) {
  std::ifstream f;
  std::istream* in = &std::cin;
  if (file != "-") {
    f.open(file, std::ios::binary);
    if (!f) throw std::runtime_error(file + ": " + std::strerror(errno));
    in = &f;
  }
  return std::string(std::istreambuf_iterator<char>(*in), {});
}

Output::Output(const std::string& path) : path_(path == "-" ? std::string() : path) {
  if (path_.empty()) {
    file_ = stdout;
    return;
  }
  temp_ = path_ + ".XXXXXX";
  const int fd = mkstemp(temp_.data());
  if (fd < 0) throw std::runtime_error(path_ + ": " + std::strerror(errno));
  fchmod(fd, 0666 & ~[] { mode_t m = umask(0); umask(m); return m; }());
  file_ = fdopen(fd, "wb");
}

Output::~Output() {
  if (!path_.empty() && file_ != nullptr) {
    std::fclose(file_);
    std::remove(temp_.c_str());
  }
}

void Output::Write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) {
    throw std::runtime_error((path_.empty() ? std::string("<stdout>") : path_) + ": " +
                             std::strerror(errno));
  }
}

void Output::Commit() {
  const bool failed = std::fflush(file_) != 0 || std::ferror(file_);
  if (path_.empty()) {
    if (failed) throw std::runtime_error(std::string("<stdout>: ") + std::strerror(errno));
    return;
  }
  const int saved = errno;
  const bool closed = std::fclose(file_) == 0;
  file_ = nullptr;
  if (failed || !closed || std::rename(temp_.c_str(), path_.c_str()) != 0) {
    const int err = failed ? saved : errno;
    std::remove(temp_.c_str());
    throw std::runtime_error(path_ + ": " + std::strerror(err));
  }
}

char* OutputBlock::Room(size_t n) {
  if (capacity_ - size_ < n) {
    const size_t capacity = std::max(size_ + n, std::max(kBlock, 2 * capacity_));
    auto data = std::make_unique_for_overwrite<char[]>(capacity);
    if (size_ > 0) std::memcpy(data.get(), data_.get(), size_);
    data_ = std::move(data);
    capacity_ = capacity;
  }
  return data_.get() + size_;
}

void OutputBlock::Append(std::string_view bytes) {
  char* at = Room(bytes.size());
  if (!bytes.empty()) std::memcpy(at, bytes.data(), bytes.size());
  size_ += bytes.size();
}

void OutputBlock::Drain(bool all) {
  if (size_ > 0 && (all || size_ >= kBlock)) {
    out_.Write(std::string_view(data_.get(), size_));
    size_ = 0;
  }
}

Progress::Progress(const char* unit, uint64_t total_bytes)
    : unit_(unit), total_(total_bytes), enabled_(isatty(2) != 0), start_ns_(NowNs()),
      last_ns_(start_ns_) {}

Progress::~Progress() { Finish(); }

void Progress::Tick(uint64_t items, uint64_t bytes_done) {
  if (!enabled_ || ++calls_ % 4096 != 0) return;
  const int64_t now = NowNs();
  if (now - start_ns_ < 1'000'000'000 || now - last_ns_ < 250'000'000) return;
  last_ns_ = now;
  const double seconds = static_cast<double>(now - start_ns_) / 1e9;
  std::string line = "\r" + Grouped(items) + " " + unit_ + ", " +
                     Grouped(static_cast<uint64_t>(static_cast<double>(items) / seconds)) + " " +
                     unit_ + "/s";
  if (total_ > 0) line += ", " + std::to_string(bytes_done * 100 / total_) + " %";
  std::fprintf(stderr, "%s\x1b[K", line.c_str());
  shown_ = true;
}

void Progress::Finish() {
  if (shown_) std::fputc('\n', stderr);
  shown_ = false;
}

}  // namespace qel::cli

#include "cli.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

int ReportError(const qel::Error& e) {
  std::string number = std::to_string(e.Number());
  if (e.Number() < 0) {
    char hex[16];
    std::snprintf(hex, sizeof hex, " (&H%08X)", static_cast<uint32_t>(e.Number()));
    number += hex;
  }
  std::string text = e.what();
  for (size_t p; (p = text.find("\r\n")) != std::string::npos;) text.replace(p, 2, " / ");
  std::fprintf(stderr, "qel: error %s (%s): %s\n", number.c_str(),
               qel::ToUtf8(e.Source()).c_str(), text.c_str());
  return kExitFailed;
}

int ReportFailure(std::string_view text) {
  std::fprintf(stderr, "qel: %.*s\n", static_cast<int>(text.size()), text.data());
  return kExitFailed;
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

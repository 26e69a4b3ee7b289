#include "qel/frame/log.h"

#include <syslog.h>

#include <cstdio>
#include <mutex>

namespace qel {
namespace {

std::mutex& SinkMutex() {
  static std::mutex m;
  return m;
}

LogSink& Sink() {
  static LogSink sink;
  return sink;
}

void WriteSyslog(const std::string& entry) {
  openlog("QelStd32", LOG_PID, LOG_USER);
  syslog(LOG_ERR, "%s", entry.c_str());
  closelog();
}

}  // namespace

Text FormatLogEntry(int32_t number, TextView source, TextView description) {
  char hex[16];
  std::snprintf(hex, sizeof hex, "%X", static_cast<uint32_t>(number));
  Text out = u"\r\nNumber: ";
  out += FromUtf8(hex);
  out += u"\r\nSource: ";
  out += source;
  out += u"\r\n";
  out += description;
  return out;
}

void LogErrorEvent(int32_t number, TextView source, TextView description) noexcept {
  try {
    const std::string entry = ToUtf8(FormatLogEntry(number, source, description));
    LogSink sink;
    {
      std::lock_guard<std::mutex> lock(SinkMutex());
      sink = Sink();
    }
    if (sink) {
      sink(entry);
    } else {
      WriteSyslog(entry);
    }
  } catch (...) {
    // A log entry that cannot be written is dropped.
  }
}

LogSink SetLogSink(LogSink sink) {
  std::lock_guard<std::mutex> lock(SinkMutex());
  LogSink old = std::move(Sink());
  Sink() = std::move(sink);
  return old;
}

}  // namespace qel

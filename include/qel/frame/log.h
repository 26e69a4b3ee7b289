// LogErrorEvent: the one error entry written where no caller can receive an error.
//
// By default entries go to syslog (error priority, ident "QelStd32"). The sink is
// process-wide and replaceable so that tests and applications can capture entries.
#ifndef QEL_FRAME_LOG_H_
#define QEL_FRAME_LOG_H_

#include <cstdint>
#include <functional>
#include <string>

#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

// Receives the entry text (UTF-8). Must not throw; an exception is swallowed.
using LogSink = std::function<void(const std::string& entry)>;

// CR LF "Number: " hex number (two's complement for negatives) CR LF "Source: " source CR LF
// description.
QEL_EXPORT Text FormatLogEntry(int32_t number, TextView source, TextView description);
// Writes one error entry. Never fails.
QEL_EXPORT void LogErrorEvent(int32_t number, TextView source, TextView description) noexcept;
// Replaces the sink; an empty function restores syslog. Returns the previous sink.
QEL_EXPORT LogSink SetLogSink(LogSink sink);

}  // namespace qel

#endif  // QEL_FRAME_LOG_H_

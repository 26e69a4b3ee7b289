#include "qel/wait/thread_events.h"

#include "wait/named_event.h"
#include "wait/thread_loop.h"

namespace qel {

int32_t ThreadWindow() { return internal::CurrentThreadWindow(); }

bool SetNamedEvent(TextView name) {
  auto event = internal::FindNamedEvent(name);
  return event != nullptr && event->Set();
}

bool ResetNamedEvent(TextView name) {
  auto event = internal::FindNamedEvent(name);
  return event != nullptr && event->Reset();
}

}  // namespace qel

// What only the library may do to an event: count its handlers together with those of other
// events, so that an owner of many events learns at once whether any of them has a handler.
#ifndef QEL_SRC_FRAME_EVENT_INTERNAL_H_
#define QEL_SRC_FRAME_EVENT_INTERNAL_H_

#include <cstdint>
#include <memory>

#include "qel/frame/object.h"

namespace qel {

class EventInternal {
 public:
  // From now on *tally counts the handlers of `event` among those of the other events given
  // the same tally, the ones it has already included. An event counts into one tally: a
  // second call moves its handlers from the first.
  template <class... A>
  static void CountHandlersIn(Event<A...>& event, std::shared_ptr<int64_t> tally) {
    event.Tally(-static_cast<int64_t>(event.handlers_.size()));
    event.tally_ = std::move(tally);
    event.Tally(static_cast<int64_t>(event.handlers_.size()));
  }
};

}  // namespace qel

#endif  // QEL_SRC_FRAME_EVENT_INTERNAL_H_

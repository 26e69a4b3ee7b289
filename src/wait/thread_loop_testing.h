// Seams for tests of the wait layer.
#ifndef QEL_SRC_WAIT_THREAD_LOOP_TESTING_H_
#define QEL_SRC_WAIT_THREAD_LOOP_TESTING_H_

#include <cstdint>
#include <functional>

namespace qel::internal {

// Replaces TickCount on the calling thread; an empty function restores the clock.
void ForTestingSetTickSource(std::function<uint32_t()> source);

// While true, waiters created on the calling thread get no events, as when the system runs
// out of descriptors.
void ForTestingFailEventCreation(bool fail);
bool EventCreationFailsForTesting();

}  // namespace qel::internal

#endif  // QEL_SRC_WAIT_THREAD_LOOP_TESTING_H_

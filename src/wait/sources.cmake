list(APPEND QEL_SOURCES
  src/wait/event_fd.cc
  src/wait/named_event.cc
  src/wait/qel_timer.cc
  src/wait/qel_transfer.cc
  src/wait/qel_waiter.cc
  src/wait/thread_events.cc
  src/wait/thread_loop.cc
  src/wait/timer_events.cc
  src/wait/timer_source.cc
  src/wait/wait_loop.cc)
list(APPEND QEL_TESTS
  src/wait/qel_timer_test.cc
  src/wait/qel_waiter_test.cc)

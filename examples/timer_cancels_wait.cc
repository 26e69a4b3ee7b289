// A timer ends a wait with data: the program waits for a "reply" that a timer delivers three
// ticks later, while the thread's loop keeps running. Build against the installed package with
// `pkg-config --cflags --libs qelstd` or find_package(qelstd).
#include <cstdio>
#include <memory>

#include "qel/qelstd.h"

int main() {
  auto waiter = std::make_shared<qel::QelWaiter>();
  auto timer = std::make_shared<qel::QelTimer>();
  int ticks = 0;
  timer->ExecuteEvent.Connect([&] {
    std::printf("tick %d\n", ++ticks);
    if (ticks == 3) waiter->CancelWait(qel::Variant(u"respuesta del host"));
  });
  timer->Execute(20);
  try {
    const qel::Variant reply = waiter->WaitForEvent(u"example", 5000);
    timer->Cancel();
    std::printf("wait returned: %s\n", qel::ToUtf8(reply.Get<qel::Text>()).c_str());
  } catch (const qel::Error& e) {
    std::printf("wait failed: %s %s\n", qel::ToUtf8(e.Source()).c_str(), e.what());
    return 1;
  }
  return 0;
}

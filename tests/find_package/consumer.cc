#include <cstdio>

#include "qel/qelstd.h"

int main() {
  try {
    qel::CLng(u"abc");
  } catch (const qel::Error& e) {
    std::printf("%d %s\n", e.Number(), e.what());
    return e.Number() == qel::kErrTypeMismatch ? 0 : 1;
  }
  return 1;
}

// The layout the field and record benchmarks share: 40 descriptor lines of every type, with a
// repeated group of 10 occurrences (8 member fields between its list begin and list end),
// 804 characters in all.
#ifndef QEL_BENCH_BENCH_LAYOUT_H_
#define QEL_BENCH_BENCH_LAYOUT_H_

#include <string>
#include <vector>

#include "qel/fields/layout_digest.h"
#include "qel/frame/text.h"

namespace qel::bench {

struct Layout {
  std::vector<Text> lines;
  int32_t total = 0;
  Text text;

  Layout() {
    const char* outside[] = {"X:20", "A:8", "N:12.2", "S:9.2", "D:8", "R:10.1", "N:6", "D:6"};
    auto add = [&](const std::string& line) { lines.push_back(FromUtf8(line)); };
    for (int i = 0; i < 30; ++i) add(std::string(outside[i % 8]) + ":F" + std::to_string(i));
    add("LB:10:ITEMS");
    const char* inside[] = {"X:10", "N:6", "S:7.2", "D:8", "R:9.1", "A:4", "N:4.1", "X:2"};
    for (int i = 0; i < 8; ++i) add(std::string(inside[i]) + ":I" + std::to_string(i));
    add("LE:0:ITEMS");
    int32_t body = 10 + 6 + 7 + 8 + 9 + 4 + 4 + 2;
    const int32_t widths[] = {20, 8, 12, 9, 8, 10, 6, 6};
    for (int i = 0; i < 30; ++i) total += widths[i % 8];
    total += body * 10;
    lines.back() = u"LE:" + FromUtf8(std::to_string(body * 10)) + u":ITEMS";
    std::vector<TextView> views(lines.begin(), lines.end());
    text = u"SD:1.0:BENCH:2006-03-29:14:05:09";
    for (const auto& l : lines) text += u"\r\n" + l;
    text += u"\r\nCS:" + FromUtf8(std::to_string(total)) + u":BENCH:" +
            LayoutDigest(u"BENCH", views, total);
  }
};

inline const Layout& BenchLayout() {
  static const Layout layout;
  return layout;
}

}  // namespace qel::bench

#endif  // QEL_BENCH_BENCH_LAYOUT_H_

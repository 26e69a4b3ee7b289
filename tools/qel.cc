// qel: the library's main jobs from a shell.
//
//   qel demo      shows what the library does today (the default)
//   qel classes   lists the creatable classes
#include <cstdio>
#include <cstring>
#include <string>

#include "qel/qelstd.h"

namespace {

void Line(const std::string& label, const qel::Text& value) {
  std::printf("  %-34s %s\n", label.c_str(), qel::ToUtf8(value).c_str());
}

int Demo() {
  using namespace qel;
  std::printf("qelstd demo\n\nLocale of this thread: %s\n", ThreadLocale().name.c_str());
  SetThreadLocale("es_CL.UTF-8");
  std::printf("Switched to es_CL.UTF-8\n\nConversions:\n");
  Line("CDec(\"1.234,5\")", CStr(CDec(u"1.234,5")));
  Line("CLng(2.5), CLng(3.5), CLng(-2.5)",
       CStr(CLng(2.5)) + u", " + CStr(CLng(3.5)) + u", " + CStr(CLng(-2.5)));
  Line("CDate(\"15-03-2006\")", CStr(CDate(u"15-03-2006")));
  Line("CDec(\"0,1\") + CDec(\"0,2\")", CStr(CDec(u"0,1") + CDec(u"0,2")));
  std::printf("\nErrors:\n");
  try {
    Chaining(u"Demo.Outer:", [] { Chaining(u"Demo.Inner:", [] { CLng(u"abc"); }); });
  } catch (const Error& e) {
    Line("CLng(\"abc\") through two layers",
         CStr(e.Number()) + u" | " + e.Source() + u" | " + e.Description());
  }
  try {
    CDec(u"99999999999999999999999999999");
  } catch (const Error& e) {
    Line("CDec of 29 nines", CStr(e.Number()) + u" | " + e.Description());
  }
  std::printf("\nCreatable classes:");
  for (const auto& c : CreatableClasses()) std::printf(" %s", ToUtf8(c).c_str());
  std::printf("\n");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const char* cmd = argc > 1 ? argv[1] : "demo";
  if (std::strcmp(cmd, "demo") == 0) return Demo();
  if (std::strcmp(cmd, "classes") == 0) {
    for (const auto& c : qel::CreatableClasses()) std::printf("%s\n", qel::ToUtf8(c).c_str());
    return 0;
  }
  std::fprintf(stderr, "usage: qel [demo|classes]\n");
  return 2;
}

// Reply header blocks as they arrive: the input, cut into lines after each line feed, is fed
// to the collector and taken into a bag. The block never passes its limit; taking it either
// succeeds with an accepted status or raises 122 (bag untouched) or the status error of the
// status the bag holds, all with the source "QelInet.RetrieveHeaders:...".
#include <string_view>

#include "fuzz_helpers.h"
#include "inet/reply_headers.h"
#include "qel/frame/convert.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  qel::internal::ReplyHeaderBlock headers;
  while (!input.empty()) {
    const size_t end = input.find('\n');
    const size_t n = end == std::string_view::npos ? input.size() : end + 1;
    headers.AddLine(input.substr(0, n));
    input.remove_prefix(n);
  }
  qel::fuzz::Check(headers.block().size() <= qel::internal::kMaxHeaderBlockChars + 1);
  qel::QelProps bag;
  bag.SetValue(u"before", 1);
  try {
    qel::internal::RetrieveHeaders(headers, u"host", bag);
  } catch (const qel::Error& e) {
    qel::fuzz::Check(e.Source().starts_with(u"QelInet.RetrieveHeaders:"));
    if (e.Number() == 122) {
      qel::fuzz::Check(headers.overflow() && bag.Exists(u"before"));
    } else {
      // A status error: &H80040000 + the status the bag holds, whatever number the server sent.
      const int32_t status = qel::CLng(bag.Value(u"HTTP_STATUS"));
      qel::fuzz::Check(!headers.overflow() && !qel::internal::IsAcceptedStatus(status) &&
                       e.Number() == static_cast<int32_t>(0x80040000u +
                                                          static_cast<uint32_t>(status)));
    }
    return 0;
  }
  qel::fuzz::Check(qel::internal::IsAcceptedStatus(qel::CLng(bag.Value(u"HTTP_STATUS"))));
  return 0;
}

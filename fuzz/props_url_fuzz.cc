// URL query strings: LoadFromURL takes any text without raising. Every property it makes is a
// String or Null, and the bag's compact text reads back the same. The post-data form, read by
// LoadFromURL again, is stable from the second round on: the first may lose a Null property
// whose name is empty (written as an empty field, which the reader skips).
#include <string_view>

#include "fuzz_helpers.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qel::Text url = qel::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  qel::QelProps bag;
  bag.LoadFromURL(url);
  for (const auto& p : bag) qel::fuzz::Check(p->Value().IsText() || p->IsNull());

  const qel::Text text = bag.ToText();
  qel::QelProps again;
  again.LoadFromText(text);
  qel::fuzz::Check(again.ToText() == text && again.Count() == bag.Count());

  qel::QelProps posted;
  posted.LoadFromURL(bag.ToText(qel::qelFormatPostData));
  const qel::Text post = posted.ToText(qel::qelFormatPostData);
  qel::QelProps reposted;
  reposted.LoadFromURL(post);
  qel::fuzz::Check(reposted.ToText(qel::qelFormatPostData) == post);
  return 0;
}

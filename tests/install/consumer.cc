// A client of the installed library: declares a layout (its digest comes from libcrypto),
// creates every creatable class by name (which reaches the GLib-based ones) and checks that an
// error arrives as qel::Error with its Spanish text. Prints "consumer ok" and the signature.
#include <cstdio>
#include <string>

#include "qel/qelstd.h"

int main() {
  qel::QelRecord rec;
  rec.DefLayout(u"CLIENTE");
  rec.AddField(u"NOMBRE", qel::qelTypeText, 20);
  rec.AddField(u"RUT", qel::qelTypeRut, 10, 1);
  rec.EndLayout(true);
  for (const auto& name : qel::CreatableClasses()) {
    if (!qel::CreateObject(name)) {
      std::printf("CreateObject(%s) gave nothing\n", qel::ToUtf8(name).c_str());
      return 1;
    }
  }
  try {
    qel::CLng(u"abc");
  } catch (const qel::Error& e) {
    if (e.Number() != qel::kErrTypeMismatch) return 1;
    std::printf("consumer ok: %s; %s\n", e.what(), qel::ToUtf8(rec.Signature()).c_str());
    return 0;
  }
  return 1;
}

// QelProps: the property bag, the library's one carrier of named values.
//
// A bag is an ordered collection of QelProp objects keyed by name without regard to case, and
// reachable by 1-based position too. Keys are trimmed of surrounding blanks, both when a
// property is created and when one is looked up. A number key (Integer, Long, Single, Double,
// Currency, Decimal, Byte) is a position; any other key is a name, taken as its text. Lookups by
// name take constant time on average whatever the size of the bag and whatever names it holds;
// removing a property takes time proportional to the size.
//
// The bag holds its properties, and a property its nested bag, by shared reference: a bag
// handed out by Value or Props is the same object, not a copy (Copy and Clone make copies).
// Bags may therefore share a nested bag, and a bag may contain itself. Nesting deeper than
// 1,000 levels (which includes every bag that contains itself) stops writing with error 28;
// a bag that contains itself is never freed. Freeing a bag does not recurse, so a bag
// nested to any depth through the API can be freed.
//
// The bag has a text form of its own (ToText / LoadFromText), described atop
// src/props/props_parser.cc. Loaders fill a bag from that text, from bytes or a file holding
// it, from an HTTP reply header block and from a URL query string. Every loader first empties
// the bag.
//
// Like every library object a bag belongs to the thread that made it and takes no locks.
#ifndef QEL_PROPS_QEL_PROPS_H_
#define QEL_PROPS_QEL_PROPS_H_

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"
#include "qel/props/qel_prop.h"

namespace qel {

// The text forms ToText writes.
enum QelFormatTypes : int32_t {
  qelFormatNormal = 0,    // compact: N=5;D:7="15-03-2006";Q=[X=1]
  qelFormatIndented = 1,  // one property per line, nested bags indented by tabs
  qelFormatPostData = 2,  // URL-encoded form fields: N=5&D=15-03-2006&Q=X%3D1
};

namespace internal {
class BagAccess;
class NameIndex;
}  // namespace internal

class QEL_EXPORT QelProps final : public Object {
 public:
  using PropPtr = std::shared_ptr<QelProp>;
  using const_iterator = std::vector<PropPtr>::const_iterator;

  QelProps();
  ~QelProps() override;

  TextView ClassName() const override { return u"QelProps"; }

  // The bag's own name: empty when made, set only by SetName, not part of the text form.
  const Text& Name() const { return name_; }
  void SetName(TextView name) { name_ = Text(name); }

  // The property under `key`, or null when there is none: an absent name, a position out of
  // range or a key with no text form (Null, an object without a default value). Never raises.
  PropPtr Item(const Variant& key) const noexcept;
  // True when Item(key) finds a property.
  bool Exists(const Variant& key) const noexcept { return Item(key) != nullptr; }

  // The value of the property under `key` (an object shared, anything else copied), or
  // `default_value` when there is none. Never raises.
  Variant Value(const Variant& key, const Variant& default_value = Variant()) const;

  // Assigns to the property under `key` as QelProp::SetValue does, first creating it at the end
  // of the bag when absent; the new property's name is the key's text, trimmed (a position out
  // of range creates a property named by the number). Raises what QelProp::SetValue raises, and
  // the conversion error of a key with no text form (94 for Null). A property created for a
  // value that QelProp::SetValue then refuses stays in the bag, Empty.
  void SetValue(const Variant& key, const Variant& value);

  // Number of properties.
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }

  // Removes the property under `key`; false when there is none. Positions after it move down
  // by one. Never raises.
  bool Remove(const Variant& key) noexcept;

  // Removes every property.
  void Clear() noexcept;

  // Takes over the properties of `source`, in its order: an absent one is added (a nested bag
  // by reference), a present one gets the source's value, except that where both hold nested
  // bags the source's bag is merged into this one's recursively, or, when the source's nested
  // bag holds a property named "NOMERGE", this one's nested bag is replaced by a copy of it.
  // Properties that `source` lacks are kept. Nothing happens when `source` is null or this bag.
  // Each pair of a nested source bag and the bag it goes into is merged once per call, so
  // shared nested bags cost once and bags that contain themselves end; nesting past the limit
  // raises 28.
  void Merge(const std::shared_ptr<QelProps>& source);

  // A new bag with a copy of this one's properties (see Copy).
  std::shared_ptr<QelProps> Clone() const;

  // Without a key (Empty): replaces this bag's properties by a deep copy of `source`'s, made
  // through the compact text form (so it carries what that form carries); a null `source`
  // empties the bag. With a key: stores a new bag holding such a copy under `key` (found or
  // created), leaving the rest of this bag as it is.
  void Copy(const std::shared_ptr<QelProps>& source, const Variant& key = Variant());

  // The bag as text in one of the QelFormatTypes. Raises E_INVALIDARG (source
  // "QelProps.ToText") for an unknown format, 28 past the nesting limit, 13 for a variant array
  // value and 6 for a Single or Double that is infinite or not a number. A bag that shares a
  // nested bag is written in full at every place it holds it, so the text can be far larger
  // than the bag; a text that would pass kMaxTextUnits code units raises E_INVALIDARG (source
  // "QelProps.ToText") instead.
  static constexpr size_t kMaxTextUnits = size_t{1} << 25;
  Text ToText(int32_t format = qelFormatNormal) const;

  // Replaces the properties by those of a bag text (compact or indented). A syntax error raises
  // E_INVALIDARG, source "QelProps.ToText", "Se encontró '%1' cuando se esperaba %2"; a number
  // beyond 32 bits raises 6, nesting past the limit 28. Properties read before an error stay.
  void LoadFromText(TextView text);

  // LoadFromText of bag text given as its Windows-1252 bytes. Errors as LoadFromText, with the
  // source prefixed by "QelProps.LoadFromBytes:".
  void LoadFromBytes(std::span<const uint8_t> bytes);

  // LoadFromText of a bag text file (path in UTF-8 as Text). The file is UTF-8 when it starts
  // with the UTF-8 byte order mark or is valid UTF-8 throughout, UTF-16 when it starts with a
  // UTF-16 byte order mark, and Windows-1252 otherwise. A file that cannot be read raises E_FAIL,
  // source "QelProps.LoadFromFile", and leaves the bag as it was; errors in its text are those of
  // LoadFromText with the source prefixed by "QelProps.LoadFromFile:".
  void LoadFromFile(TextView path);

  // Replaces the properties by the headers of a raw HTTP reply header block: the status line
  // ("HTTP/1.1 200 OK") gives "HTTP_PROTOCOL" ("HTTP"), "HTTP_VERSION" ("1.1"), "HTTP_STATUS"
  // (a Long) and "HTTP_MESSAGE" ("OK", possibly empty); each "Name: value" line gives a String
  // property under the name, value trimmed. A header repeated is joined with ", "; a line that
  // starts with a blank continues the previous header's value. Lines are separated by CR LF or
  // LF; other lines are skipped. A block of more than kMaxHttpLines line feeds raises E_INVALIDARG
  // (source "QelProps.LoadFromHttp") and leaves the bag as it was; any other text loads.
  static constexpr size_t kMaxHttpLines = 10000;
  void LoadFromHttp(TextView headers);

  // Replaces the properties by the fields of a URL query string ("a=1&b=x+y"), or of the query
  // of a whole URL (the part after the first "?", up to any "#"). Names and values are decoded
  // as UrlDecode does and become String properties; a field without "=" becomes Null, empty
  // fields are skipped. This reads what ToText(qelFormatPostData) writes. Never raises.
  void LoadFromURL(TextView url);

  // Iteration in insertion order. Iterators are invalidated by any change to the bag.
  const_iterator begin() const { return items_.begin(); }
  const_iterator end() const { return items_.end(); }

 private:
  friend class internal::BagAccess;

  Text name_;
  std::vector<PropPtr> items_;
  // Finds names in bags too large to search one by one; null in small bags.
  std::unique_ptr<internal::NameIndex> index_;
};

}  // namespace qel

#endif  // QEL_PROPS_QEL_PROPS_H_

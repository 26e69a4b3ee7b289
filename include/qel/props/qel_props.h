// QelProps: the property bag, the library's one carrier of named values.
//
// A bag is an ordered collection of QelProp objects keyed by name without regard to case, and
// reachable by 1-based position too. Keys are trimmed of surrounding blanks, both when a
// property is created and when one is looked up. A number key (Integer, Long, Single, Double,
// Currency, Decimal, Byte) is a position; any other key is a name, taken as its text. Lookups by
// name take constant time on average whatever the size of the bag; removing a property takes
// time proportional to the size.
//
// The bag holds its properties, and a property its nested bag, by shared reference: a bag
// handed out by Value or Props is the same object, not a copy (Copy and Clone make copies).
// Nothing guards against a bag that contains itself; writing such a bag as text, or merging
// into it, stops with error 28 at the nesting limit (and the cycle is never freed).
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

class QelPropsInternal;

class QelProps final : public Object {
 public:
  using PropPtr = std::shared_ptr<QelProp>;
  using const_iterator = std::vector<PropPtr>::const_iterator;

  QelProps() = default;

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
  // the conversion error of a key with no text form (94 for Null).
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
  // Raises 28 past the nesting limit (a bag that contains itself).
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
  // value and 6 for a Single or Double that is infinite or not a number.
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
  // LF; other lines are skipped. Never raises for any text.
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
  friend class QelPropsInternal;

  static constexpr size_t kNotFound = static_cast<size_t>(-1);
  // Bags up to this size are searched without an index.
  static constexpr size_t kLinearLimit = 8;

  // Index of the item under a name (already trimmed), or kNotFound.
  size_t FindName(TextView name, uint32_t hash) const noexcept;
  size_t Find(const Variant& key) const noexcept;
  // The property under `key`, created at the end when absent.
  QelProp& FindOrCreate(const Variant& key);
  // `is_token`: the caller knows the name is a name token (else it is worked out).
  QelProp& FindOrCreateName(TextView trimmed_name, bool is_token = false);
  // Adds a property at the end. REQUIRES: no property has that name; hash = its KeyHash.
  QelProp& Append(TextView trimmed_name, uint32_t hash, bool is_token = false);
  // Replaces the properties by a copy of source's, through the compact text.
  void CopyFrom(const QelProps& source);
  // Replaces the properties by those of `from`, which is left empty.
  void TakeItems(QelProps* from) noexcept;
  void IndexInsert(size_t item);
  void RebuildIndex();
  void MergeAt(const QelProps& source, int depth);

  Text name_;
  std::vector<PropPtr> items_;
  // Open-addressing hash index over items_ (item position + 1; 0 is a free slot), kept only
  // once the bag outgrows kLinearLimit. Its size is a power of two at least twice Count.
  std::vector<uint32_t> slots_;
};

}  // namespace qel

#endif  // QEL_PROPS_QEL_PROPS_H_

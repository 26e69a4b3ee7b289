// QelLayoutFields and QelLayoutField: a record layout being declared (private).
//
// QelRecord.DefLayout opens a QelLayoutFields, AddField appends QelLayoutFields::Add, and
// EndLayout calls Build, which resolves the repeated groups and writes the signature text:
//
//   "SD:1.0:" NAME ":" YYYY-MM-DD:HH:NN:SS      header, stamped with the local time
//   descriptor                                  one line per field, in declaration order
//   "CS:" TOTAL ":" NAME ":" DIGEST              LayoutDigest of the lines without the stamp
//
// lines joined by CR LF. A descriptor is CODE ":" LENGTH ["." PRECISION] ":" NAME
// [":" DEFAULT]. A group runs from a list begin to the list end of the same name; its length is
// its occurrences (the begin's Precision, or its Length when no Precision was given) times
// the lengths of the fields between them, and counts once in TOTAL. Groups do not nest.
#ifndef QEL_SRC_RECORDS_LAYOUT_BUILDER_H_
#define QEL_SRC_RECORDS_LAYOUT_BUILDER_H_

#include <cstdint>
#include <functional>
#include <unordered_set>
#include <vector>

#include "frame/keyed_hash.h"
#include "qel/frame/variant.h"

namespace qel::internal {

class QelLayoutField {
 public:
  // Checks and stores one declared field, raising E_INVALIDARG with the short sources "Length"
  // (bad type, negative or zero length), "Name", "Precision" and "Default".
  QelLayoutField(TextView name, int32_t data_type, int32_t length, const Variant& precision,
                 const Variant& default_value);

  const Text& Name() const { return name_; }
  int32_t DataType() const { return data_type_; }
  int32_t Length() const { return length_; }
  int32_t Precision() const { return precision_; }
  const Variant& Default() const { return default_; }
  void SetLength(int32_t length);
  void SetPrecision(int32_t precision);
  // The field's line of the signature text.
  Text Descriptor() const;

 private:
  Text name_;
  int32_t data_type_ = 0;
  int32_t length_ = 0;
  int32_t precision_ = 0;
  Variant default_;
};

class QelLayoutFields {
 public:
  // Raises E_INVALIDARG (source "Name") when the trimmed name is empty.
  void Initialize(TextView name);
  // Appends a field; raises its checks' errors, or 457 for a second field of the same name
  // (list ends are not keyed). A refused field is not added.
  void Add(TextView name, int32_t data_type, int32_t length, const Variant& precision,
           const Variant& default_value);
  // Resolves the groups and returns the signature text; raises E_INVALIDARG ("NoFields",
  // "MissingEnd", "MissingStart", "WrongEnd") or 6 for lengths past 32 bits. After a failure
  // the definition can be completed and built again.
  Text Build();

 private:
  Text name_;
  std::vector<QelLayoutField> fields_;
  // The names of the fields that are keyed (all but list ends), so that a long declaration
  // checks each new name in constant time.
  std::unordered_set<Text, KeyedTextHash, std::equal_to<>> names_;
};

}  // namespace qel::internal

#endif  // QEL_SRC_RECORDS_LAYOUT_BUILDER_H_

// QelProp: one named value of a property bag (QelProps).
//
// A property has a name, fixed when it is made (surrounding blanks trimmed), and one value of
// any automation type: Empty, Null, a scalar, a byte or variant array, or a nested QelProps held
// by shared reference. Bags create their properties and hold them by shared reference; a
// property may also be created on its own (QelProp::Create, or CreateObject(u"QelProp") with an
// empty name).
// Like every library object it belongs to the thread that made it and takes no locks.
#ifndef QEL_PROPS_QEL_PROP_H_
#define QEL_PROPS_QEL_PROP_H_

#include <cstdint>
#include <memory>
#include <optional>

#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel {

class QelProps;
namespace internal {
class BagAccess;
}

class QEL_EXPORT QelProp final : public Object {
 public:
  // A new property named `name` with surrounding blanks removed, holding Empty.
  static std::shared_ptr<QelProp> Create(TextView name = {});

  // Use Create; public only so that std::make_shared can reach it. REQUIRES: `trimmed_name`
  // has no surrounding blanks.
  explicit QelProp(TextView trimmed_name);

  TextView ClassName() const override { return u"QelProp"; }

  // The name as given at creation, trimmed.
  const Text& Name() const { return name_; }
  // The name as the bag text writes it: the name itself when it reads back as a name token
  // (a letter or "_" followed by letters, digits and "_"), otherwise the name in double quotes
  // with inner double quotes doubled.
  Text StrName() const;
  // True when StrName is the bare name. Decided once, when the property is made.
  bool name_is_token() const { return name_is_token_; }

  // The value; an object value is shared with the caller, anything else is a copy once the
  // caller copies it. The reference stays valid until the next SetValue.
  const Variant& Value() const { return value_; }

  // Stores a value. A value that is not an object is stored as it is. An object is handled by
  // its class:
  //  - Nothing raises E_INVALIDARG, source "QelProp.ValueSet",
  //    "Asignación de objeto nulo a la propiedad '%1'" (%1 = the name);
  //  - a QelProp: its value is copied into this property (later changes to it do not show);
  //  - a QelRecordField: its value of occurrence 1 is stored (an error reading it is raised
  //    as the field raises it);
  //  - a QelProps: stored by reference, making this property a nested bag;
  //  - any other object raises E_INVALIDARG, source "QelProp.ValueSet",
  //    "Asignación de objeto inválido a la propiedad '%1'".
  // On failure the property keeps its previous value.
  void SetValue(const Variant& value);

  // The value's automation type code (0 Empty, 1 Null, 3 Long, 9 Object, 8209 bytes, ...).
  int32_t DataType() const { return static_cast<int32_t>(value_.type()); }
  bool IsNull() const { return value_.IsNull(); }
  bool IsEmpty() const { return value_.IsEmpty(); }
  bool IsObject() const { return value_.IsObject(); }
  // True when the value is a QelProps.
  bool IsProps() const { return Props() != nullptr; }
  // The nested bag, or null when the value is not a QelProps.
  std::shared_ptr<QelProps> Props() const;

  // The default member is Value.
  std::optional<Variant> DefaultValue() override { return value_; }

 private:
  friend class internal::BagAccess;

  Text name_;
  Variant value_;
  bool name_is_token_;
};

}  // namespace qel

#endif  // QEL_PROPS_QEL_PROP_H_

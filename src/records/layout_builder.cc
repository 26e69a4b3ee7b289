#include "records/layout_builder.h"

#include <cstdio>
#include <limits>

#include "qel/fields/field_types.h"
#include "qel/fields/layout_digest.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/error.h"

namespace qel::internal {
namespace {

int32_t CheckedAdd(int32_t a, int32_t b) {
  int32_t r;
  if (__builtin_add_overflow(a, b, &r)) RaiseRuntime(kErrOverflow);
  return r;
}

int32_t CheckedMul(int32_t a, int32_t b) {
  int32_t r;
  if (__builtin_mul_overflow(a, b, &r)) RaiseRuntime(kErrOverflow);
  return r;
}

Text Decimal32(int32_t v) { return CStr(Variant(v)); }

}  // namespace

QelLayoutField::QelLayoutField(TextView name, int32_t data_type, int32_t length,
                               const Variant& precision, const Variant& default_value) {
  data_type_ = data_type;
  if (data_type < qelTypeList || data_type > qelTypeListEnd) {
    RaiseError(E_INVALIDARG, u"Length", u"El Tipo del campo es inválido");
  }
  name_ = UCase(Trim(name));
  if (name_.empty()) RaiseError(E_INVALIDARG, u"Name", u"El Nombre del campo no puede ser nulo");
  for (auto& c : name_) {
    if (c == u'-') c = u'_';
  }
  SetLength(length);
  SetPrecision(precision.IsEmpty() ? 0 : CLng(precision));
  if (!default_value.IsEmpty() && !(default_value.IsText() && default_value.Get<Text>().empty())) {
    // Null is kept as given. It has no text form, so its descriptor line carries no default
    // part, and the layout read back has no default: the same as omitting it, which is what
    // a client passing Null (Python's None) means.
    default_ = default_value;
    if (default_value.IsNull()) return;
    // The default travels inside one line of the signature text.
    const Text text = CStr(default_value);
    if (text.find_first_of(u"\r\n") != Text::npos) {
      RaiseError(E_INVALIDARG, u"Default",
                 u"El valor por omisión del campo no puede contener saltos de línea");
    }
  }
}

void QelLayoutField::SetLength(int32_t length) {
  if (length < 0) RaiseError(E_INVALIDARG, u"Length", u"El Largo del campo no puede ser negativo");
  if (length == 0 && data_type_ != qelTypeListEnd) {
    RaiseError(E_INVALIDARG, u"Length", u"El Largo del campo debe ser mayor que cero");
  }
  length_ = length;
}

void QelLayoutField::SetPrecision(int32_t precision) {
  if (precision < 0) {
    RaiseError(E_INVALIDARG, u"Precision", u"La Precisión del campo no puede ser negativa");
  }
  precision_ = precision;
}

Text QelLayoutField::Descriptor() const {
  Text line(FieldTypeCode(data_type_));
  line += u':';
  line += Decimal32(length_);
  if (precision_ > 0) {
    line += u'.';
    line += Decimal32(precision_);
  }
  line += u':';
  line += name_;
  if (!default_.IsEmpty() && !default_.IsNull()) {
    line += u':';
    line += CStr(default_);
  }
  return line;
}

void QelLayoutFields::Initialize(TextView name) {
  name_ = UCase(Trim(name));
  if (name_.empty()) {
    RaiseError(E_INVALIDARG, u"Name", u"El Largo del Nombre del Layout debe mayor que cero");
  }
}

void QelLayoutFields::Add(TextView name, int32_t data_type, int32_t length,
                          const Variant& precision, const Variant& default_value) {
  QelLayoutField field(name, data_type, length, precision, default_value);
  if (field.DataType() != qelTypeListEnd && !names_.insert(field.Name()).second) {
    RaiseRuntime(kErrDuplicateKey);
  }
  fields_.push_back(std::move(field));
}

Text QelLayoutFields::Build() {
  if (fields_.empty()) {
    RaiseError(E_INVALIDARG, u"NoFields", u"No se ha definido ningún campo del registro");
  }
  int32_t total = 0;
  int32_t body = 0;
  QelLayoutField* open = nullptr;
  for (auto& f : fields_) {
    switch (f.DataType()) {
      case qelTypeList:
        if (open != nullptr) {
          RaiseError(E_INVALIDARG, u"MissingEnd", u"La lista '%1' no se finalizó",
                     {Variant(open->Name())});
        }
        if (f.Precision() == 0) f.SetPrecision(f.Length());
        open = &f;
        body = 0;
        break;
      case qelTypeListEnd: {
        if (open == nullptr) {
          RaiseError(E_INVALIDARG, u"MissingStart", u"Final de lista '%1' sin un comienzo",
                     {Variant(f.Name())});
        }
        if (!EqualsNoCase(f.Name(), open->Name())) {
          RaiseError(E_INVALIDARG, u"WrongEnd",
                     u"Final de lista '%1' y su comienzo '%2' no coinciden",
                     {Variant(f.Name()), Variant(open->Name())});
        }
        const int32_t size = CheckedMul(open->Precision(), body);
        total = CheckedAdd(total, size);
        // An empty group has no length and is refused like any field of length 0.
        open->SetLength(size);
        f.SetLength(size);
        f.SetPrecision(0);
        open = nullptr;
        body = 0;
        break;
      }
      default:
        if (open != nullptr) {
          body = CheckedAdd(body, f.Length());
        } else {
          total = CheckedAdd(total, f.Length());
        }
    }
  }
  if (open != nullptr) {
    RaiseError(E_INVALIDARG, u"MissingEnd", u"La lista '%1' no se finalizó",
               {Variant(open->Name())});
  }

  std::vector<Text> lines;
  lines.reserve(fields_.size());
  for (const auto& f : fields_) lines.push_back(f.Descriptor());
  std::vector<TextView> views(lines.begin(), lines.end());

  const DateParts now = SplitDate(Now());
  char stamp[32];
  std::snprintf(stamp, sizeof stamp, ":%04d-%02d-%02d:%02d:%02d:%02d", now.year, now.month,
                now.day, now.hour, now.minute, now.second);
  Text text = u"SD:1.0:" + name_ + FromUtf8(stamp);
  for (const auto& line : lines) {
    text += u"\r\n";
    text += line;
  }
  text += u"\r\nCS:" + Decimal32(total) + u":" + name_ + u":" +
          LayoutDigest(name_, views, total);
  return text;
}

}  // namespace qel::internal

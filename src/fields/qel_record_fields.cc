// Reading a signature text (grammar in qel_record_fields.h).
//
// The text is split into lines; the first must be the header, the last the checksum line,
// and every line, those two included, goes through the field's descriptor parser (the header
// is type "SD", the checksum line type "CS"). The digest over the descriptor lines is checked
// next; then the descriptor lines become prototype fields, placed in one pass. The result is
// an immutable ParsedLayout; assigning it copies the prototypes into live fields bound to the
// collection's data. Nothing of the collection changes until the whole text has been
// accepted.
//
// Each thread remembers its last kMaxRemembered accepted texts with their ParsedLayout, so a
// text seen again costs a lookup and the copies. The parse depends on the thread locale's
// separators (sizes are read as numbers), so an entry is only reused under the separators it
// was made with.
#include "qel/fields/qel_record_fields.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <string_view>
#include <utility>

#include "fields/field_name_index.h"
#include "fields/qel_record_field_internal.h"
#include "fields/qel_record_fields_internal.h"
#include "frame/event_internal.h"
#include "frame/keyed_hash.h"
#include "frame/line_reader.h"
#include "qel/fields/layout_digest.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"

namespace qel {

using Internal = QelRecordFieldInternal;

namespace {

constexpr char16_t kHeaderPrefix[] = u"SD:1.0:";

// A line quoted in a message, cut when long.
Text Excerpt(TextView line) {
  constexpr size_t kMax = 60;
  if (line.size() <= kMax) return Text(line);
  return Text(line.substr(0, kMax)) + u"...";
}

[[noreturn]] void Fail(const char16_t* source, const char16_t* tmpl, Args args = {}) {
  RaiseError(E_INVALIDARG, source, tmpl, args);
}

// The lines of a signature text (see LineReader); an empty text is one empty line, which the
// envelope check then refuses with its own message.
std::vector<TextView> SplitLines(TextView text) {
  std::vector<TextView> lines;
  internal::LineReader reader(text);
  for (TextView line; reader.Next(&line);) lines.push_back(line);
  if (text.empty()) lines.emplace_back();
  return lines;
}

// The text between the first `skip` colons and the next one.
TextView Segment(TextView line, int skip) {
  size_t pos = 0;
  for (int i = 0; i < skip; ++i) {
    pos = line.find(u':', pos);
    if (pos == TextView::npos) return {};
    ++pos;
  }
  return line.substr(pos, line.find(u':', pos) - pos);
}

struct ListSpan {
  int32_t begin;  // position of the list begin in the fields
  int32_t end;    // position of its list end
};

}  // namespace

// A signature text accepted and laid out; shared by the collections that assign it.
struct ParsedLayout {
  Text text;
  Text name;
  Text signature;
  int32_t total = 0;
  char16_t decimal = 0, thousand = 0;  // thread locale's separators at parse time
  std::vector<std::shared_ptr<QelRecordField>> prototypes;  // placed, bound to no data
  std::shared_ptr<const QelRecordFields::NameIndex> index;
  std::vector<ListSpan> lists;
  std::vector<std::shared_ptr<const QelRecordFields::NameIndex>> list_indexes;
};

// Builds collections from parsed layouts (friend of QelRecordFields).
class QelRecordFieldsBuilder {
 public:
  // The layout of a signature text, in three steps: the envelope (header and checksum lines),
  // the digest over the descriptor lines, and the fields placed and indexed.
  static std::shared_ptr<const ParsedLayout> Parse(TextView text);
  static void Assign(const ParsedLayout& layout, QelRecordFields* out);

 private:
  // Reads the header and checksum lines into `layout` (name, total, digest) and returns the
  // layout name as the header writes it.
  static TextView ReadEnvelope(const std::vector<TextView>& lines, ParsedLayout* layout);
  static void PlaceFields(std::span<const TextView> descriptors, ParsedLayout* layout);
  static void IndexLists(ParsedLayout* layout);
};

namespace {

// The verified texts of this thread, oldest first out.
class VerifiedLayouts {
 public:
  static constexpr size_t kMaxRemembered = 32;
  static constexpr size_t kMaxTextLength = 1 << 16;  // longer texts are verified every time

  std::shared_ptr<const ParsedLayout> Find(TextView text) const {
    const auto it = by_text_.find(text);
    if (it == by_text_.end()) return nullptr;
    const LocaleInfo& loc = ThreadLocale();
    if (it->second->decimal != loc.decimal || it->second->thousand != loc.thousand) {
      return nullptr;
    }
    return it->second;
  }

  void Remember(std::shared_ptr<const ParsedLayout> layout) {
    if (layout->text.size() > kMaxTextLength) return;
    if (by_text_.size() >= kMaxRemembered) {
      by_text_.erase(Text(order_.front()));
      order_.pop_front();
    }
    Text key = layout->text;
    auto [it, inserted] = by_text_.insert_or_assign(std::move(key), std::move(layout));
    if (inserted) order_.push_back(it->first);
  }

  void Clear() {
    by_text_.clear();
    order_.clear();
  }

 private:
  std::unordered_map<Text, std::shared_ptr<const ParsedLayout>, internal::KeyedTextHash,
                     std::equal_to<>>
      by_text_;
  std::deque<TextView> order_;  // views of the map's keys, which do not move
};

VerifiedLayouts& Verified() {
  thread_local VerifiedLayouts t_verified;
  return t_verified;
}

}  // namespace

void internal::ForgetVerifiedLayoutsForTesting() { Verified().Clear(); }

std::shared_ptr<const ParsedLayout> QelRecordFieldsBuilder::Parse(TextView text) {
  auto layout = std::make_shared<ParsedLayout>();
  layout->text = Text(text);
  const LocaleInfo& loc = ThreadLocale();
  layout->decimal = loc.decimal;
  layout->thousand = loc.thousand;
  const std::vector<TextView> lines = SplitLines(layout->text);
  const TextView raw_name = ReadEnvelope(lines, layout.get());
  const std::span<const TextView> descriptors(lines.data() + 1, lines.size() - 2);
  // The digest is checked before the lines are read as fields: a text whose lines are not
  // those its digest was made from is a damaged or edited signature, whatever else is wrong
  // with it. The checks that follow only see texts written by another program with a
  // matching digest.
  if (LayoutDigest(raw_name, descriptors, layout->total) != layout->signature) {
    RaiseError(E_INVALIDARG, u"QelRecordFields.Layout",
               u"La firma no coincide con la definición de campos");
  }
  Chaining(u"QelRecordFields.Layout:", [&] {
    PlaceFields(descriptors, layout.get());
    IndexLists(layout.get());
  });
  return layout;
}

TextView QelRecordFieldsBuilder::ReadEnvelope(const std::vector<TextView>& lines,
                                              ParsedLayout* layout) {
  return Chaining(u"QelRecordFields.Layout:", [&] {
    const TextView header = lines.front();
    const TextView raw_name = Segment(header, 2);
    if (header.substr(0, std::size(kHeaderPrefix) - 1) != kHeaderPrefix || raw_name.empty()) {
      Fail(u"Header", u"El encabezado '%1' de la firma es inválido", {Variant(Excerpt(header))});
    }
    layout->name = Internal::Make(header, nullptr)->Name();
    const TextView checksum = lines.size() > 1 ? lines.back() : TextView();
    if (lines.size() < 2 || UCase(checksum.substr(0, 3)) != u"CS:") {
      Fail(u"Checksum", u"La firma no termina con una línea de control 'CS'");
    }
    const auto check = Internal::Make(checksum, nullptr);
    layout->total = check->Length();
    // The digest is the checksum line's default, read as that line's type reads it: without
    // trailing blanks.
    layout->signature = check->Default().Get<Text>();
    if (Segment(checksum, 1) != CStr(Variant(layout->total)) || Segment(checksum, 2) != raw_name ||
        layout->signature.empty() || checksum.find(u':', 3) == checksum.rfind(u':')) {
      Fail(u"Checksum", u"La línea de control '%1' de la firma es inválida",
           {Variant(Excerpt(checksum))});
    }
    if (lines.size() < 3) Fail(u"NoFields", u"No se ha definido ningún campo del registro");
    return raw_name;
  });
}

// One pass places the fields: those outside groups follow each other from position 1; a list
// begin opens a group whose members are laid out one after the other in its body, and the
// matching list end closes it, the group taking Dimensions times the body. Every position
// stays within kMaxRecordLength.
void QelRecordFieldsBuilder::PlaceFields(std::span<const TextView> descriptors,
                                         ParsedLayout* layout) {
  auto& fields = layout->prototypes;
  fields.reserve(descriptors.size());
  auto index = std::make_shared<QelRecordFields::NameIndex>();
  int64_t pos = 1;    // next free position outside groups
  int32_t open = -1;  // the open list begin
  int64_t body = 0;   // length of the open group's body so far
  auto check_end = [](int64_t last) {
    if (last > kMaxRecordLength) RaiseRuntime(kErrOverflow);
  };
  for (const TextView line : descriptors) {
    auto f = Internal::Make(line, nullptr);
    const auto i = static_cast<int32_t>(fields.size());
    const int32_t type = f->DataType();
    if (type == Internal::kTypeHeader || type == Internal::kTypeChecksum) {
      Fail(u"Line", u"La línea '%1' está fuera de lugar en la firma", {Variant(Excerpt(line))});
    }
    if (type != qelTypeListEnd) {
      if (f->Name().empty()) Fail(u"Name", u"El Nombre del campo no puede ser nulo");
      if (!index->positions.emplace(f->Name(), i).second) {
        Fail(u"Duplicate", u"El campo '%1' está repetido en la firma", {Variant(f->Name())});
      }
    }
    if (type == qelTypeList) {
      if (open >= 0) {
        Fail(u"MissingEnd", u"La lista '%1' no se finalizó", {Variant(fields[open]->Name())});
      }
      open = i;
      body = 0;
    } else if (type == qelTypeListEnd) {
      if (open < 0) {
        Fail(u"MissingStart", u"Final de lista '%1' sin un comienzo", {Variant(f->Name())});
      }
      QelRecordField& begin = *fields[open];
      if (!EqualsNoCase(f->Name(), begin.Name())) {
        Fail(u"WrongEnd", u"Final de lista '%1' y su comienzo '%2' no coinciden",
             {Variant(f->Name()), Variant(begin.Name())});
      }
      const int64_t size = body * begin.Dimensions();  // both within the limits: no overflow
      check_end(pos + size - 1);
      if ((begin.Length() != 0 && begin.Length() != size) || f->Length() != size) {
        Fail(u"ListLength", u"El largo de la lista '%1' no coincide con el de sus campos (%2)",
             {Variant(begin.Name()), Variant(static_cast<int32_t>(size))});
      }
      const auto start = static_cast<int32_t>(pos);
      const auto stride = static_cast<int32_t>(body);
      Internal::SetLength(begin, static_cast<int32_t>(size));
      Internal::Place(begin, start, stride, begin.Dimensions(), stride, false);
      Internal::Place(*f, start, static_cast<int32_t>(size), 1, 0, false);
      for (int32_t m = open + 1; m < i; ++m) {
        QelRecordField& member = *fields[m];
        Internal::Place(member, start + member.Start() - 1, member.Length(), begin.Dimensions(),
                        stride, true);
      }
      layout->lists.push_back({open, i});
      pos += size;
      open = -1;
    } else if (open >= 0) {
      // Members keep their offset in the body (plus one) until the list end places them.
      Internal::Place(*f, static_cast<int32_t>(body + 1), f->Length(), 1, 0, true);
      body += f->Length();
      check_end(body);
    } else {
      check_end(pos + f->Length() - 1);
      Internal::Place(*f, static_cast<int32_t>(pos), f->Length(), 1, 0, false);
      pos += f->Length();
    }
    fields.push_back(std::move(f));
  }
  if (open >= 0) {
    Fail(u"MissingEnd", u"La lista '%1' no se finalizó", {Variant(fields[open]->Name())});
  }
  if (pos - 1 != layout->total) {
    Fail(u"Total", u"El largo total %1 de la firma no coincide con el de sus campos (%2)",
         {Variant(layout->total), Variant(static_cast<int32_t>(pos - 1))});
  }
  layout->index = std::move(index);
}

void QelRecordFieldsBuilder::IndexLists(ParsedLayout* layout) {
  const auto& fields = layout->prototypes;
  for (const ListSpan& list : layout->lists) {
    auto members = std::make_shared<QelRecordFields::NameIndex>();
    for (int32_t m = list.begin + 1; m < list.end; ++m) {
      members->positions.emplace(fields[m]->Name(), m - list.begin - 1);
    }
    layout->list_indexes.push_back(std::move(members));
  }
}

void QelRecordFieldsBuilder::Assign(const ParsedLayout& layout, QelRecordFields* out) {
  QelRecordFields::FieldList fields;
  fields.reserve(layout.prototypes.size());
  auto listeners = std::make_shared<int64_t>(0);
  for (const auto& p : layout.prototypes) {
    fields.push_back(Internal::Clone(*p, out->data_));
    EventInternal::CountHandlersIn(fields.back()->Change, listeners);
  }
  for (size_t l = 0; l < layout.lists.size(); ++l) {
    const ListSpan& list = layout.lists[l];
    auto group = std::make_shared<QelRecordFields>(out->data_);
    QelRecordField& begin = *fields[list.begin];
    group->name_ = begin.Name();
    group->length_ = begin.Length();
    group->fields_.assign(fields.begin() + list.begin + 1, fields.begin() + list.end);
    group->index_ = layout.list_indexes[l];
    group->listeners_ = listeners;
    Internal::SetListFields(begin, std::move(group));
  }
  out->fields_ = std::move(fields);
  out->index_ = layout.index;
  out->listeners_ = std::move(listeners);
  out->layout_ = layout.text;
  out->name_ = layout.name;
  out->signature_ = layout.signature;
  out->length_ = layout.total;
}

QelRecordFields::QelRecordFields() : QelRecordFields(std::make_shared<QelRecordData>()) {}

QelRecordFields::QelRecordFields(std::shared_ptr<QelRecordData> data) : data_(std::move(data)) {}

void QelRecordFields::SetLayout(TextView text) {
  if (text.empty()) {  // the layout of a record without fields, as a cleared one has
    Clear();
    return;
  }
  std::shared_ptr<const ParsedLayout> layout = Verified().Find(text);
  if (!layout) {
    layout = QelRecordFieldsBuilder::Parse(text);
    Verified().Remember(layout);
  }
  QelRecordFieldsBuilder::Assign(*layout, this);
}

std::shared_ptr<QelRecordField> QelRecordFields::FindName(TextView name) const {
  if (!index_) return nullptr;
  const auto it = index_->positions.find(name);
  return it == index_->positions.end() ? nullptr : fields_[static_cast<size_t>(it->second)];
}

std::shared_ptr<QelRecordField> QelRecordFields::Find(const Variant& key) const {
  if (key.IsText()) return FindName(key.Get<Text>());
  if (!key.IsNumeric()) return nullptr;
  const int32_t position = ToLongOr(key, 0);
  if (position < 1 || position > Count()) return nullptr;
  return fields_[static_cast<size_t>(position) - 1];
}

std::shared_ptr<QelRecordField> QelRecordFields::Item(const Variant& key) const {
  auto field = Find(key);
  if (!field) {
    RaiseError(E_INVALIDARG, u"QelRecordFields.Item",
               u"El campo '%1' no existe en el registro '%2'", {key, Variant(name_)});
  }
  return field;
}

void QelRecordFields::Clear() {
  fields_.clear();
  index_.reset();
  listeners_.reset();
  layout_.clear();
  name_.clear();
  signature_.clear();
  length_ = 0;
}

void QelRecordFields::SetRecordData(std::shared_ptr<QelRecordData> data) {
  if (!data) RaiseRuntime(kErrObjectNotSet);
  data_ = std::move(data);
  for (const auto& f : fields_) {
    Internal::Bind(*f, data_);
    if (f->ListFields()) f->ListFields()->data_ = data_;
  }
}

void QelRecordFields::NotifyDataChanged() {
  if (!listeners_ || *listeners_ == 0) return;
  // A handler may clear or replace the fields: the ones told are a snapshot, kept alive.
  const FieldList snapshot = fields_;
  for (const auto& f : snapshot) f->NotifyDataChanged();
}

}  // namespace qel

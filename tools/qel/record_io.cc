#include "record_io.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "cli.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/locale.h"
#include "qel/frame/text.h"

namespace qel::cli {
namespace {

// Rewrites [begin, end) between double quotes into `length` bytes from the end towards the
// start, each byte through `put(c, dst)`, which writes its form ending just before dst and
// returns the form's start. Going backwards lets the longer text overwrite the shorter.
template <typename Put>
char* RewriteBackwards(char* begin, char* end, size_t length, Put put) {
  char* dst = begin + length;
  *--dst = '"';
  for (char* src = end; src != begin;) dst = put(*--src, dst);
  *--dst = '"';
  return begin + length;
}

class JsonParser {
 public:
  explicit JsonParser(std::string_view text) : text_(text) {}

  JsonValue Document() {
    JsonValue v = Value(0);
    SkipBlanks();
    if (pos_ != text_.size()) Fail("texto después del valor JSON");
    return v;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error("JSON inválido en la columna " + std::to_string(pos_ + 1) + ": " +
                             what);
  }
  void SkipBlanks() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t' ||
                                   text_[pos_] == '\r' || text_[pos_] == '\n')) {
      ++pos_;
    }
  }
  bool Take(char c) {
    SkipBlanks();
    if (pos_ < text_.size() && text_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }
  bool TakeWord(std::string_view w) {
    if (text_.substr(pos_, w.size()) != w) return false;
    pos_ += w.size();
    return true;
  }

  JsonValue Value(int depth) {
    if (depth >= kMaxJsonDepth) Fail("anidamiento de más de " + std::to_string(kMaxJsonDepth));
    SkipBlanks();
    if (pos_ == text_.size()) Fail("falta un valor");
    JsonValue v;
    const char c = text_[pos_];
    if (c == '{') {
      ++pos_;
      v.kind = JsonValue::kObject;
      if (Take('}')) return v;
      do {
        SkipBlanks();
        if (pos_ == text_.size() || text_[pos_] != '"') Fail("se esperaba un nombre entre comillas");
        std::string name = String();
        if (!Take(':')) Fail("se esperaba ':'");
        v.keys.push_back(std::move(name));
        v.items.push_back(Value(depth + 1));
      } while (Take(','));
      if (!Take('}')) Fail("se esperaba ',' o '}'");
    } else if (c == '[') {
      ++pos_;
      v.kind = JsonValue::kArray;
      if (Take(']')) return v;
      do {
        v.items.push_back(Value(depth + 1));
      } while (Take(','));
      if (!Take(']')) Fail("se esperaba ',' o ']'");
    } else if (c == '"') {
      v.kind = JsonValue::kString;
      v.text = String();
    } else if (c == '-' || (c >= '0' && c <= '9')) {
      v.kind = JsonValue::kNumber;
      const size_t start = pos_;
      while (pos_ < text_.size() && std::string_view("+-.eE0123456789").find(text_[pos_]) !=
                                        std::string_view::npos) {
        ++pos_;
      }
      v.text = std::string(text_.substr(start, pos_ - start));
    } else if (TakeWord("null")) {
      v.kind = JsonValue::kNull;
    } else if (TakeWord("true") || TakeWord("false")) {
      v.kind = JsonValue::kBool;
    } else {
      Fail(std::string("carácter inesperado '") + c + "'");
    }
    return v;
  }

  static void PutUtf8(uint32_t c, std::string& out) {
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (c >> 18)));
      out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }

  uint32_t Hex4() {
    if (pos_ + 4 > text_.size()) Fail("escape \\u incompleto");
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) {
      const char h = text_[pos_++];
      v <<= 4;
      if (h >= '0' && h <= '9') v |= static_cast<uint32_t>(h - '0');
      else if (h >= 'a' && h <= 'f') v |= static_cast<uint32_t>(h - 'a' + 10);
      else if (h >= 'A' && h <= 'F') v |= static_cast<uint32_t>(h - 'A' + 10);
      else Fail("escape \\u inválido");
    }
    return v;
  }

  // At the opening quote.
  std::string String() {
    ++pos_;
    std::string out;
    for (;;) {
      if (pos_ >= text_.size()) Fail("cadena sin cerrar");
      const char c = text_[pos_++];
      if (c == '"') return out;
      if (static_cast<unsigned char>(c) < 0x20) Fail("carácter de control en una cadena");
      if (c != '\\') {
        out.push_back(c);
        continue;
      }
      if (pos_ >= text_.size()) Fail("cadena sin cerrar");
      const char e = text_[pos_++];
      switch (e) {
        case '"': case '\\': case '/': out.push_back(e); break;
        case 'b': out.push_back('\b'); break;
        case 'f': out.push_back('\f'); break;
        case 'n': out.push_back('\n'); break;
        case 'r': out.push_back('\r'); break;
        case 't': out.push_back('\t'); break;
        case 'u': {
          uint32_t cp = Hex4();
          if (cp >= 0xD800 && cp <= 0xDBFF && text_.substr(pos_, 2) == "\\u") {
            pos_ += 2;
            const uint32_t low = Hex4();
            if (low < 0xDC00 || low > 0xDFFF) Fail("par sustituto inválido");
            cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
          } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            Fail("par sustituto inválido");
          }
          PutUtf8(cp, out);
          break;
        }
        default:
          Fail(std::string("escape desconocido \\") + e);
      }
    }
  }

  std::string_view text_;
  size_t pos_ = 0;
};

void SetPlain(QelRecordField& field, const JsonValue& v, int32_t index) {
  switch (v.kind) {
    case JsonValue::kNull:
      field.SetValue(Variant::Null(), index);
      return;
    case JsonValue::kNumber:
    case JsonValue::kString:
      field.SetValue(PlainValue(field, v.text), index);
      return;
    default:
      throw std::runtime_error("el valor del campo " + ToUtf8(field.Name()) +
                               " no es texto, número ni null");
  }
}

}  // namespace

std::shared_ptr<QelRecord> LoadLayout(const std::string& file_or_text) {
  const std::string text =
      file_or_text.rfind("SD:", 0) == 0 ? file_or_text : ReadAll(file_or_text);
  if (!IsValidUtf8(text)) throw std::runtime_error(file_or_text + ": la firma no es UTF-8 válido");
  auto record = std::make_shared<QelRecord>();
  record->SetLayout(Variant(FromUtf8(text)));
  return record;
}

std::vector<Column> Columns(const QelRecordFields& fields) {
  std::vector<Column> columns;
  const int32_t count = fields.Count();
  for (int32_t p = 1; p <= count; ++p) {
    const auto f = fields.Item(Variant(p));
    if (f->DataType() == qelTypeListEnd || f->InList()) continue;
    if (f->DataType() != qelTypeList) {
      columns.push_back({p, 1, ToUtf8(f->Name())});
      continue;
    }
    int32_t end = p + 1;
    while (end <= count && fields.Item(Variant(end))->DataType() != qelTypeListEnd) ++end;
    for (int32_t i = 1; i <= f->Dimensions(); ++i) {
      for (int32_t m = p + 1; m < end; ++m) {
        columns.push_back({m, i, ToUtf8(fields.Item(Variant(m))->Name()) + "_" + std::to_string(i)});
      }
    }
  }
  return columns;
}

char* QuoteJson(char* begin, char* end) {
  size_t length = 2;
  for (const char* p = begin; p != end; ++p) {
    const auto u = static_cast<unsigned char>(*p);
    length += *p == '"' || *p == '\\' ? 2 : u < 0x20 ? 6 : 1;
  }
  const auto n = static_cast<size_t>(end - begin);
  if (length == n + 2) {  // nothing to escape: the common case
    std::memmove(begin + 1, begin, n);
    *begin = '"';
    begin[n + 1] = '"';
    return begin + length;
  }
  return RewriteBackwards(begin, end, length, [](char c, char* dst) {
    static constexpr char kHex[] = "0123456789abcdef";
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20) {
      dst -= 6;
      std::memcpy(dst, "\\u00", 4);
      dst[4] = kHex[u >> 4];
      dst[5] = kHex[u & 15];
      return dst;
    }
    *--dst = c;
    if (c == '"' || c == '\\') *--dst = '\\';
    return dst;
  });
}

char* QuoteCsv(char* begin, char* end) {
  bool special = false;
  for (const char* p = begin; p != end; ++p) {  // without branches: it vectorises
    special |= *p == ',' || *p == '"' || *p == '\r' || *p == '\n';
  }
  if (!special) return end;
  const auto quotes = static_cast<size_t>(std::count(begin, end, '"'));
  const auto length = static_cast<size_t>(end - begin) + quotes + 2;
  return RewriteBackwards(begin, end, length, [](char c, char* dst) {
    *--dst = c;
    if (c == '"') *--dst = '"';
    return dst;
  });
}

bool SplitCsv(std::string_view line, std::vector<std::string>& fields) {
  fields.clear();
  size_t i = 0;
  for (;;) {
    std::string field;
    if (i < line.size() && line[i] == '"') {
      ++i;
      for (;;) {
        if (i >= line.size()) return false;
        if (line[i] == '"') {
          if (i + 1 < line.size() && line[i + 1] == '"') {
            field.push_back('"');
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        field.push_back(line[i++]);
      }
      if (i < line.size() && line[i] != ',') return false;
    } else {
      const size_t comma = line.find(',', i);
      const size_t end = comma == std::string_view::npos ? line.size() : comma;
      field.assign(line.substr(i, end - i));
      if (field.find('"') != std::string::npos) return false;
      i = end;
    }
    fields.push_back(std::move(field));
    if (i >= line.size()) return true;
    ++i;  // the comma
  }
}

JsonValue ParseJson(std::string_view text) { return JsonParser(text).Document(); }

Variant PlainValue(const QelRecordField& field, std::string_view text) {
  const int32_t type = field.DataType();
  const std::string name = ToUtf8(field.Name());
  if (IsNumberType(type)) {
    if (text.empty()) return Variant::Null();
    static const LocaleInfo kNeutral;
    const auto d = ParseDecimal(FromUtf8(text), kNeutral);
    if (!d) throw std::runtime_error("'" + std::string(text) + "' no es un número (campo " + name + ")");
    return Variant(*d);
  }
  if (type == qelTypeDate) {
    if (text.empty()) return Variant::Null();
    auto digits = [&](size_t at, size_t n, int* v) {
      *v = 0;
      for (size_t i = at; i < at + n; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        *v = *v * 10 + (text[i] - '0');
      }
      return true;
    };
    DateParts p;
    std::optional<Date> date;
    if (text.size() == 10 && text[4] == '-' && text[7] == '-' && digits(0, 4, &p.year) &&
        digits(5, 2, &p.month) && digits(8, 2, &p.day)) {
      date = MakeDate(p);
    }
    if (!date) {
      throw std::runtime_error("'" + std::string(text) + "' no es una fecha AAAA-MM-DD (campo " +
                               name + ")");
    }
    return Variant(*date);
  }
  return Variant(FromUtf8(text));
}

void FillFromJson(QelRecord& record, const JsonValue& object) {
  if (object.kind != JsonValue::kObject) throw std::runtime_error("se esperaba un objeto JSON");
  const auto& fields = record.Fields();
  for (size_t k = 0; k < object.keys.size(); ++k) {
    const std::string& key = object.keys[k];
    const JsonValue& value = object.items[k];
    const auto field = fields->FindName(FromUtf8(key));
    if (!field || field->InList()) {
      throw std::runtime_error("el campo '" + key + "' no existe en el registro '" +
                               ToUtf8(record.Name()) + "'");
    }
    if (field->DataType() != qelTypeList) {
      SetPlain(*field, value, 1);
      continue;
    }
    if (value.kind != JsonValue::kArray) {
      throw std::runtime_error("la lista " + key + " debe ser un arreglo JSON");
    }
    if (static_cast<int64_t>(value.items.size()) > field->Dimensions()) {
      throw std::runtime_error("la lista " + key + " tiene " + std::to_string(value.items.size()) +
                               " elementos; el layout admite " +
                               std::to_string(field->Dimensions()));
    }
    for (size_t i = 0; i < value.items.size(); ++i) {
      const JsonValue& item = value.items[i];
      if (item.kind != JsonValue::kObject) {
        throw std::runtime_error("los elementos de la lista " + key + " deben ser objetos");
      }
      for (size_t m = 0; m < item.keys.size(); ++m) {
        const std::string& member_key = item.keys[m];
        const JsonValue& member_value = item.items[m];
        const auto member = field->ListFields()->FindName(FromUtf8(member_key));
        if (!member) {
          throw std::runtime_error("el campo '" + member_key + "' no existe en la lista " + key);
        }
        SetPlain(*member, member_value, static_cast<int32_t>(i + 1));
      }
    }
  }
}

}  // namespace qel::cli

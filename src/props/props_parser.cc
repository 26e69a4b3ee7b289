// Reading bag text.
//
// Tokens (blanks, tabs, CR and LF separate them; "//" starts a comment to the end of the line):
//   name    := name-start name-char*        name-start: A-Z a-z "_" and the Latin letters
//                                           U+00C0..U+024F (not U+00D7, U+00F7); name-char
//                                           adds 0-9
//   number  := ("-" | digit) digit*         a lone "-" is a symbol; the value must fit 32 bits
//                                           (else error 6); no point, no exponent
//   string  := '"' ( any | '""' )* '"'      or the same with "'"; the doubled quote stands for
//                                           one, the other quote needs no doubling; a string
//                                           left open ends at the end of the text
//   symbol  := any other single character   (the grammar uses ; : = [ ])
//   end     := the end of the text, shown in messages as "[EOS]"
// Grammar:
//   text     := list end
//   list     := entry ( ";" entry )*          an entry may be empty: ";;;" is an empty list
//   entry    := ( name | string ) typed? ( "=" value )?      a string name is trimmed
//   typed    := ":" number                   the type code of a string value
//   value    := name | number | string+ | "[" list "]"
// A name value is its text and a number value a Long, whatever the type code; adjacent strings
// join and are then converted by the type code: 2 Integer, 3 Long, 4 Single, 5 Double,
// 6 Currency, 7 Date, 11 Boolean, 14 Decimal, 17 Byte (for 4, 5, 6 and 14 the last "," is first
// replaced by the locale's decimal separator), 0 Empty and 8209 a byte array in hexadecimal
// (what the writer makes of those two types); any other code leaves the String. A string that
// does not convert stays a String, and no error is raised for it. An entry without "=" is Null.
// Each entry is stored with the bag's own find-or-create, so a later entry of the same name
// replaces the earlier value in place. Anything the grammar does not expect raises E_INVALIDARG,
// source "QelProps.ToText", "Se encontró '%1' cuando se esperaba %2".
//
// Design. A hand-written recursive-descent parser over a view of the text: one token of
// look-ahead, token texts are views into the input except for strings with doubled quotes,
// which are unescaped into one reused buffer. Each nested bag is one more ParseList/ParseEntry
// pair of frames, so nesting is capped at props::kMaxNesting (1000) levels, past which error 28
// ("Espacio de pila insuficiente") is raised instead of letting hostile text exhaust the stack.
// The cap is far beyond any bag people write, and low enough that the deepest recursion of the
// reader, of the writer, of Merge and of freeing a nested bag fits easily in a thread's stack:
// on an optimized build, 1000 levels take about 320 KB to read, 256 KB to merge and 128 KB to
// write or free (a few times that under the sanitizers), against the 8 MB a thread gets by
// default on Linux.
#include <cstdint>

#include "props/props_format.h"
#include "qel/frame/convert.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

namespace qel::props {
namespace {

constexpr char16_t kSyntaxTemplate[] = u"Se encontró '%1' cuando se esperaba %2";

int HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  return -1;
}

bool DecodeHex(TextView text, ByteArray* out) {
  if (text.size() % 2 != 0) return false;
  out->resize(text.size() / 2);
  for (size_t i = 0; i < out->size(); ++i) {
    const int hi = HexValue(text[2 * i]);
    const int lo = HexValue(text[2 * i + 1]);
    if (hi < 0 || lo < 0) return false;
    (*out)[i] = static_cast<uint8_t>(hi * 16 + lo);
  }
  return true;
}

class Parser {
 public:
  explicit Parser(TextView text) : text_(text), decimal_(ThreadLocale().decimal) {}

  void ParseText(QelProps* bag) {
    ParseList(bag, 0);
    if (kind_ != Kind::kEnd) Expected(u"el final del texto");
  }

 private:
  enum class Kind { kName = 1, kNumber = 2, kString = 3, kSymbol = 4, kEnd = 5 };

  bool AtSymbol(char16_t c) const { return kind_ == Kind::kSymbol && token_[0] == c; }

  void SkipBlanksAndComments() {
    const size_t n = text_.size();
    while (pos_ < n) {
      const char16_t c = text_[pos_];
      if (c == u' ' || c == u'\t' || c == u'\r' || c == u'\n') {
        ++pos_;
      } else if (c == u'/' && pos_ + 1 < n && text_[pos_ + 1] == u'/') {
        const size_t eol = text_.find(u'\n', pos_ + 2);
        pos_ = eol == TextView::npos ? n : eol + 1;
      } else {
        break;
      }
    }
  }

  void Next() {
    SkipBlanksAndComments();
    const size_t n = text_.size();
    if (pos_ >= n) {
      kind_ = Kind::kEnd;
      token_ = u"[EOS]";
      return;
    }
    const size_t start = pos_;
    const char16_t c = text_[pos_++];
    if (IsNameStart(c)) {
      while (pos_ < n && IsNameChar(text_[pos_])) ++pos_;
      kind_ = Kind::kName;
    } else if (IsDigit(c) || c == u'-') {
      while (pos_ < n && IsDigit(text_[pos_])) ++pos_;
      kind_ = pos_ - start == 1 && c == u'-' ? Kind::kSymbol : Kind::kNumber;
    } else if (c == u'"' || c == u'\'') {
      ReadString(c);
      return;
    } else {
      kind_ = Kind::kSymbol;
    }
    token_ = text_.substr(start, pos_ - start);
    if (kind_ == Kind::kNumber) number_ = ToInt32(token_);
  }

  // The string after an opening quote; token_ views the input when no quote is doubled.
  void ReadString(char16_t quote) {
    kind_ = Kind::kString;
    const size_t n = text_.size();
    const size_t start = pos_;
    size_t q = text_.find(quote, pos_);
    if (q == TextView::npos || q + 1 >= n || text_[q + 1] != quote) {
      const size_t end = q == TextView::npos ? n : q;
      token_ = text_.substr(start, end - start);
      pos_ = q == TextView::npos ? n : q + 1;
      return;
    }
    unescaped_.assign(text_.substr(start, q + 1 - start));
    pos_ = q + 2;
    for (;;) {
      q = text_.find(quote, pos_);
      if (q == TextView::npos) {
        unescaped_.append(text_.substr(pos_));
        pos_ = n;
        break;
      }
      unescaped_.append(text_.substr(pos_, q - pos_));
      if (q + 1 < n && text_[q + 1] == quote) {
        unescaped_.push_back(quote);
        pos_ = q + 2;
      } else {
        pos_ = q + 1;
        break;
      }
    }
    token_ = unescaped_;
  }

  static int32_t ToInt32(TextView digits) {
    const bool negative = digits[0] == u'-';
    int64_t v = 0;
    for (size_t i = negative ? 1 : 0; i < digits.size(); ++i) {
      v = v * 10 + (digits[i] - u'0');
      if (v > int64_t{1} << 31) RaiseRuntime(kErrOverflow);
    }
    if (negative) v = -v;
    if (v > INT32_MAX) RaiseRuntime(kErrOverflow);
    return static_cast<int32_t>(v);
  }

  [[noreturn, gnu::noinline, gnu::cold]] void Expected(TextView what) const {
    const Variant found = kind_ == Kind::kNumber ? Variant(number_) : Variant(token_);
    RaiseError(E_INVALIDARG, u"QelProps.ToText", kSyntaxTemplate, {found, Variant(what)});
  }

  void ParseList(QelProps* bag, int depth) {
    if (depth > kMaxNesting) RaiseRuntime(kErrOutOfStack);
    for (;;) {
      Next();
      if (AtSymbol(u';')) continue;
      if (kind_ == Kind::kName) {
        ParseEntry(bag, token_, true, depth);
      } else if (kind_ == Kind::kString) {
        const Text name(Trim(token_));
        ParseEntry(bag, name, false, depth);
      } else {
        return;  // the caller decides what may follow
      }
      if (!AtSymbol(u';')) return;
    }
  }

  // `is_token`: the name was a name token (else a string).
  void ParseEntry(QelProps* bag, TextView name, bool is_token, int depth) {
    Next();
    int32_t code = -1;
    if (AtSymbol(u':')) {
      Next();
      if (kind_ != Kind::kNumber) Expected(u"un número después del símbolo ':'");
      code = number_;
      Next();
    }
    if (!AtSymbol(u'=')) {
      Store(bag, name, is_token, Variant::Null());
      return;
    }
    Next();
    Variant value;
    switch (kind_) {
      case Kind::kName:
        value = Variant(token_);
        Next();
        break;
      case Kind::kNumber:
        value = Variant(number_);
        Next();
        break;
      case Kind::kString:
        value = StringValue(code);
        break;
      default: {
        if (!AtSymbol(u'[')) Expected(u"un valor después del símbolo '='");
        auto nested = std::make_shared<QelProps>();
        ParseList(nested.get(), depth + 1);
        if (!AtSymbol(u']')) Expected(u"el símbolo ']'");
        Next();
        value = Variant(std::move(nested));
        break;
      }
    }
    Store(bag, name, is_token, std::move(value));
  }

  static void Store(QelProps* bag, TextView name, bool is_token, Variant value) {
    if (is_token) {
      QelPropsInternal::StoreToken(bag, name, std::move(value));
    } else {
      QelPropsInternal::Store(bag, name, std::move(value));
    }
  }

  // The current string token joined with the strings that follow it, converted by the type
  // code. Kept out of ParseEntry so that the frames of nested bags stay small.
  [[gnu::noinline]] Variant StringValue(int32_t code) {
    VarType type;
    switch (code) {
      case 0:
        JoinStrings(nullptr);
        return Variant();
      case 2:
      case 3:
      case 4:
      case 5:
      case 6:
      case 7:
      case 11:
      case 14:
      case 17:
        type = static_cast<VarType>(code);
        break;
      case kByteArrayCode: {
        Text text = JoinStrings(nullptr);
        ByteArray bytes;
        if (DecodeHex(text, &bytes)) return Variant(std::move(bytes));
        return Variant(std::move(text));
      }
      default:
        return Variant(JoinStrings(nullptr));
    }
    // The text to convert goes through one buffer that each conversion hands back.
    Variant text(JoinStrings(&buffer_));
    Text& digits = text.Get<Text>();
    if (code == 4 || code == 5 || code == 6 || code == 14) {
      const size_t comma = digits.rfind(u',');
      if (comma != Text::npos && decimal_ != u',') digits[comma] = decimal_;
    }
    try {
      Variant value = ChangeType(text, type);
      buffer_ = std::move(digits);
      return value;
    } catch (const Error&) {
      return text;  // a String that does not convert stays a String
    }
  }

  // The current string token and those right after it, joined in `*reuse` (emptied first) or
  // in a new text.
  Text JoinStrings(Text* reuse) {
    Text joined;
    if (reuse != nullptr) {
      joined = std::move(*reuse);
      joined.assign(token_);
    } else {
      joined.assign(token_);
    }
    for (Next(); kind_ == Kind::kString; Next()) joined.append(token_);
    return joined;
  }

  TextView text_;
  size_t pos_ = 0;
  const char16_t decimal_;
  Kind kind_ = Kind::kEnd;
  TextView token_;
  int32_t number_ = 0;
  Text unescaped_;
  Text buffer_;
};

}  // namespace

void ReadBagText(TextView text, QelProps* bag) { Parser(text).ParseText(bag); }

}  // namespace qel::props

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
// which are unescaped into one reused buffer, and adjacent strings, joined in another. Typed
// strings are converted by TypedValues (typed_value.h) straight from those views. Each nested bag
// is one more ParseList/ParseEntry pair of frames, so nesting is capped at kMaxNesting (1000)
// levels, past which error 28 ("Espacio de pila insuficiente") is raised instead of letting
// hostile text exhaust the stack. The cap is far beyond any bag people write, and low enough
// that the deepest recursion of the reader, of the writer and of Merge fits easily in a
// thread's stack: on an optimized build, 1000 levels take a few hundred KB (a few times that
// under the sanitizers), against the 8 MB a thread gets by default on Linux. Freeing a bag
// does not recurse at all (see ~QelProps).
#include <algorithm>
#include <cstdint>
#include <vector>

#include "frame/unit_scan.h"
#include "props/bag_access.h"
#include "props/props_format.h"
#include "props/typed_value.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"
#include "qel/props/qel_props.h"

namespace qel::internal {
namespace {

constexpr char16_t kSyntaxTemplate[] = u"Se encontró '%1' cuando se esperaba %2";

class Parser {
 public:
  explicit Parser(TextView text, size_t* error_offset = nullptr)
      : error_offset_(error_offset), text_(text), p_(text.data()),
        end_(text.data() + text.size()), typed_(ThreadLocale()) {}

  void ParseText(QelProps* bag) {
    ParseList(bag, 0);
    if (kind_ != Kind::kEnd) Expected(u"el final del texto");
  }

 private:
  enum class Kind { kName = 1, kNumber = 2, kString = 3, kSymbol = 4, kEnd = 5 };

  bool AtSymbol(char16_t c) const { return kind_ == Kind::kSymbol && token_[0] == c; }

  // Moves past blanks and comments; false at the end of the text.
  bool SkipBlanksAndComments() {
    for (; p_ < end_; ++p_) {
      const char16_t c = *p_;
      if (c == u' ' || c == u'\t' || c == u'\r' || c == u'\n') continue;
      if (c != u'/' || p_ + 1 == end_ || p_[1] != u'/') return true;
      const size_t eol = FindUnit(text_, u'\n', Offset(p_ + 2));
      if (eol == TextView::npos) break;
      p_ = text_.data() + eol;
    }
    p_ = end_;
    return false;
  }

  size_t Offset(const char16_t* p) const { return static_cast<size_t>(p - text_.data()); }

  void Next() {
    if (!SkipBlanksAndComments()) {
      kind_ = Kind::kEnd;
      token_ = u"[EOS]";
      return;
    }
    const char16_t* const start = p_;
    const char16_t c = *p_++;
    if (IsNameStart(c)) {
      p_ = SkipNameChars(p_, end_);
      kind_ = Kind::kName;
    } else if (IsDigit(c) || c == u'-') {
      ReadNumber(c);
    } else if (c == u'"' || c == u'\'') {
      ReadString(c);
      return;
    } else {
      kind_ = Kind::kSymbol;
    }
    token_ = TextView(start, static_cast<size_t>(p_ - start));
  }

  // The digits after a first digit or "-"; a lone "-" is a symbol. Raises 6 when the number
  // does not fit 32 bits.
  void ReadNumber(char16_t first) {
    const bool negative = first == u'-';
    if (negative && (p_ == end_ || !IsDigit(*p_))) {
      kind_ = Kind::kSymbol;
      return;
    }
    constexpr int64_t kLimit = int64_t{1} << 31;
    int64_t v = negative ? 0 : first - u'0';
    for (; p_ < end_ && IsDigit(*p_); ++p_) {
      if (v <= kLimit) v = v * 10 + (*p_ - u'0');  // past the limit only the length matters
    }
    if (v > (negative ? kLimit : kLimit - 1)) RaiseRuntime(kErrOverflow);
    kind_ = Kind::kNumber;
    number_ = static_cast<int32_t>(negative ? -v : v);
  }

  // The string after an opening quote; token_ views the input when no quote is doubled.
  void ReadString(char16_t quote) {
    kind_ = Kind::kString;
    token_in_buffer_ = false;
    const size_t n = text_.size();
    size_t pos = Offset(p_);
    size_t q = FindUnit(text_, quote, pos);
    if (q == TextView::npos || q + 1 >= n || text_[q + 1] != quote) {
      const size_t end = q == TextView::npos ? n : q;
      token_ = text_.substr(pos, end - pos);
      p_ = text_.data() + (q == TextView::npos ? n : q + 1);
      return;
    }
    AssignText(unescaped_, text_.substr(pos, q + 1 - pos));
    pos = q + 2;
    for (;;) {
      q = FindUnit(text_, quote, pos);
      if (q == TextView::npos) {
        unescaped_.append(text_.substr(pos));
        pos = n;
        break;
      }
      unescaped_.append(text_.substr(pos, q - pos));
      if (q + 1 < n && text_[q + 1] == quote) {
        unescaped_.push_back(quote);
        pos = q + 2;
      } else {
        pos = q + 1;
        break;
      }
    }
    p_ = text_.data() + pos;
    token_ = unescaped_;
    token_in_buffer_ = true;
  }

  [[noreturn, gnu::noinline, gnu::cold]] void Expected(TextView what) const {
    const Variant found = kind_ == Kind::kNumber ? Variant(number_) : Variant(token_);
    if (error_offset_ != nullptr) *error_offset_ = Offset(p_);
    RaiseError(E_INVALIDARG, u"QelProps.ToText", kSyntaxTemplate, {found, Variant(what)});
  }

  void ParseList(QelProps* bag, int depth) {
    if (depth > kMaxNesting) RaiseRuntime(kErrOutOfStack);
    for (;;) {
      Next();
      if (AtSymbol(u';')) continue;
      if (kind_ == Kind::kName) {
        ParseEntry(bag, token_, depth);
      } else if (kind_ == Kind::kString && !token_in_buffer_) {
        ParseEntry(bag, Trim(token_), depth);
      } else if (kind_ == Kind::kString) {
        const Text name(Trim(token_));  // the buffer is reused by the next string
        ParseEntry(bag, name, depth);
      } else {
        return;  // the caller decides what may follow
      }
      if (!AtSymbol(u';')) return;
    }
  }

  // True, having read it, when the next token is the symbol `c`; otherwise nothing is read.
  // What Next and AtSymbol do, for the symbols that usually follow.
  bool TakeSymbol(char16_t c) {
    if (!SkipBlanksAndComments() || *p_ != c) return false;
    ++p_;
    return true;
  }

  void ParseEntry(QelProps* bag, TextView name, int depth) {
    int32_t code = -1;
    if (TakeSymbol(u':')) {
      Next();
      if (kind_ != Kind::kNumber) Expected(u"un número después del símbolo ':'");
      code = number_;
    }
    if (!TakeSymbol(u'=')) {
      Next();  // whatever follows is for the caller
      Store(bag, name, Variant::Null());
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
        auto nested = NewBag();
        ParseNested(nested.get(), depth + 1);
        if (!AtSymbol(u']')) Expected(u"el símbolo ']'");
        Next();
        value = Variant(std::move(nested));
        break;
      }
    }
    Store(bag, name, std::move(value));
  }

  // Nested bags at one depth are often rows of one shape, so each starts with room for as many
  // properties as the previous one had, up to kMaxReserve.
  void ParseNested(QelProps* bag, int depth) {
    constexpr uint32_t kMaxReserve = 128;
    const auto level = static_cast<size_t>(depth);
    if (level >= sizes_.size()) sizes_.resize(level + 1, 0);
    internal::BagAccess::Reserve(*bag, sizes_[level]);
    ParseList(bag, depth);
    sizes_[level] = std::min(static_cast<uint32_t>(bag->Count()), kMaxReserve);
  }

  // Stores with the bag's find-or-create, so that a later entry of a name replaces the value
  // of an earlier one in place.
  static void Store(QelProps* bag, TextView name, Variant value) {
    using internal::BagAccess;
    BagAccess::ValueOf(BagAccess::FindOrCreateName(*bag, name)) = std::move(value);
  }

  // The current string token joined with the strings that follow it, converted by the type
  // code. Kept out of ParseEntry so that the frames of nested bags stay small.
  [[gnu::noinline]] Variant StringValue(int32_t code) {
    return typed_.Convert(JoinStrings(), code);
  }

  // The current string token and those right after it, joined; the view lasts until the next
  // string token is read.
  TextView JoinStrings() {
    TextView first = token_;
    if (token_in_buffer_) {  // the next string may reuse that buffer
      AssignText(joined_, first);
      first = joined_;
    }
    Next();
    if (kind_ != Kind::kString) return first;
    if (first.data() != joined_.data()) AssignText(joined_, first);
    for (; kind_ == Kind::kString; Next()) joined_.append(token_);
    return joined_;
  }

  size_t* error_offset_;
  TextView text_;
  const char16_t* p_;
  const char16_t* const end_;
  Kind kind_ = Kind::kEnd;
  TextView token_;
  bool token_in_buffer_ = false;  // token_ views unescaped_
  int32_t number_ = 0;
  Text unescaped_;
  Text joined_;
  std::vector<uint32_t> sizes_;  // by depth, the size of the last nested bag read
  const TypedValues typed_;
};

}  // namespace

void ReadBagText(TextView text, QelProps* bag) { Parser(text).ParseText(bag); }

void ReadBagText(TextView text, QelProps* bag, size_t* error_offset) {
  Parser(text, error_offset).ParseText(bag);
}

}  // namespace qel::internal

// The copybook reader: source lines -> tokens -> entries (level, name, clauses) -> a tree of
// items -> AddField calls. Every step keeps the line each token came from, so a refusal names
// it. The tree is at most 49 levels deep (levels 01-49), which bounds the walk's recursion.
#include "copybook.h"

#include <memory>
#include <set>

#include "qel/fields/field_types.h"
#include "qel/records/qel_record.h"
#include "record_io.h"

namespace qel::cli {
namespace {

struct Token {
  std::string text;  // upper-cased outside literals
  uint32_t line;
};

struct Item {
  int level = 0;
  std::string name;
  std::string picture;
  int32_t occurs = 0;
  uint32_t line = 0;
  std::vector<std::unique_ptr<Item>> children;
};

class Reader {
 public:
  Reader(std::string_view text, const std::string& file, const CopybookOptions& options)
      : file_(file), options_(options) {
    Tokenize(text);
  }

  Text Signature() {
    std::unique_ptr<Item> root = Tree();
    QelRecord record;
    const std::string name = options_.name.empty() ? root->name : options_.name;
    record.DefLayout(FromUtf8(name));
    if (!root->picture.empty()) Fail(root->line, "el nivel 01 debe ser un grupo");
    if (root->occurs > 0) Fail(root->line, "OCCURS en el nivel 01 no se admite");
    for (const auto& child : root->children) Emit(record, *child, false);
    for (const auto& [mapped, type] : options_.map) {
      if (!used_.contains(Normalized(mapped))) {
        throw std::runtime_error("el mapa nombra " + mapped + ", que no está en el copybook");
      }
    }
    try {
      // Applied, so that the signature's own reader checks what AddField leaves open (the
      // lengths a date or a RUT may have).
      return record.EndLayout(true);
    } catch (const qel::Error& e) {
      throw CopybookFieldError{file_ + ":" + std::to_string(root->line), e};
    }
  }

 private:
  [[noreturn]] void Fail(uint32_t line, const std::string& what) const {
    throw std::runtime_error(file_ + ":" + std::to_string(line) + ": " + what);
  }

  static std::string Upper(std::string s) {
    for (char& c : s) {
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return s;
  }
  static std::string Normalized(std::string s) {
    s = Upper(std::move(s));
    for (char& c : s) {
      if (c == '-') c = '_';
    }
    return s;
  }

  // Fixed form when every line that holds anything has a sequence area of digits or blanks
  // and an indicator column.
  static bool IsFixedForm(std::string_view text) {
    size_t start = 0;
    while (start < text.size()) {
      size_t end = text.find('\n', start);
      if (end == std::string_view::npos) end = text.size();
      std::string_view line = text.substr(start, end - start);
      start = end + 1;
      if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
      if (line.size() < 7) return false;
      for (size_t i = 0; i < 6; ++i) {
        if (line[i] != ' ' && (line[i] < '0' || line[i] > '9')) return false;
      }
      if (std::string_view(" *-/dD").find(line[6]) == std::string_view::npos) return false;
    }
    return true;
  }

  void Tokenize(std::string_view text) {
    const bool fixed = IsFixedForm(text);
    size_t start = 0;
    for (uint32_t number = 1; start < text.size(); ++number) {
      size_t end = text.find('\n', start);
      if (end == std::string_view::npos) end = text.size();
      std::string_view line = text.substr(start, end - start);
      start = end + 1;
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      if (fixed) {
        if (line.size() < 7 || line[6] == '*' || line[6] == '/') continue;
        line = line.substr(7, 65);
      } else {
        const size_t comment = line.find("*>");
        if (comment != std::string_view::npos) line = line.substr(0, comment);
      }
      TokenizeLine(line, number);
    }
  }

  void TokenizeLine(std::string_view line, uint32_t number) {
    size_t i = 0;
    while (i < line.size()) {
      const char c = line[i];
      if (c == ' ' || c == '\t' || c == ',' || c == ';') {
        ++i;
        continue;
      }
      if (c == '\'' || c == '"') {  // a literal, kept as written
        size_t j = i + 1;
        while (j < line.size() && line[j] != c) ++j;
        tokens_.push_back({std::string(line.substr(i, j + 1 - i)), number});
        i = j + 1;
        continue;
      }
      size_t j = i;
      while (j < line.size() && line[j] != ' ' && line[j] != '\t') ++j;
      std::string word(line.substr(i, j - i));
      bool period = false;
      if (!word.empty() && word.back() == '.') {
        word.pop_back();
        period = true;
      }
      if (!word.empty()) tokens_.push_back({Upper(word), number});
      if (period) tokens_.push_back({".", number});
      i = j;
    }
  }

  // The next entry's tokens, without its period; empty at the end.
  std::vector<Token> NextEntry() {
    std::vector<Token> entry;
    while (next_ < tokens_.size()) {
      Token t = tokens_[next_++];
      if (t.text == ".") {
        if (!entry.empty()) return entry;
        continue;
      }
      entry.push_back(std::move(t));
    }
    if (!entry.empty()) Fail(entry.back().line, "falta el punto final de la entrada");
    return entry;
  }

  static bool IsNumber(const std::string& s) {
    return !s.empty() && s.size() <= 9 && s.find_first_not_of("0123456789") == std::string::npos;
  }

  std::unique_ptr<Item> ParseEntry(const std::vector<Token>& e) {
    auto item = std::make_unique<Item>();
    item->line = e[0].line;
    if (!IsNumber(e[0].text)) Fail(e[0].line, "se esperaba un número de nivel: " + e[0].text);
    item->level = std::stoi(e[0].text);
    size_t i = 1;
    if (i < e.size() && !IsClause(e[i].text)) item->name = e[i++].text;
    if (item->name.empty() || item->name == "FILLER") item->name = "FILLER";
    auto next = [&](const char* what) -> const Token& {
      if (i >= e.size()) Fail(e.back().line, std::string("falta ") + what);
      return e[i++];
    };
    while (i < e.size()) {
      const Token& t = e[i++];
      const std::string& w = t.text;
      if (w == "PIC" || w == "PICTURE") {
        if (i < e.size() && e[i].text == "IS") ++i;
        item->picture = next("la máscara de PIC").text;
      } else if (w == "OCCURS") {
        const Token& n = next("el número de OCCURS");
        if (!IsNumber(n.text) || std::stoi(n.text) < 1) Fail(n.line, "OCCURS necesita un número: " + n.text);
        item->occurs = std::stoi(n.text);
        if (i < e.size() && (e[i].text == "TO" || e[i].text == "DEPENDING")) {
          Fail(e[i].line, "OCCURS DEPENDING no se admite: el registro tiene largo fijo");
        }
        if (i < e.size() && e[i].text == "TIMES") ++i;
      } else if (w == "REDEFINES") {
        Fail(t.line, "REDEFINES no se admite (" + item->name +
                         "): un layout da una sola forma a cada posición del registro");
      } else if (w == "RENAMES") {
        Fail(t.line, "RENAMES no se admite");
      } else if (w == "USAGE") {
        if (i < e.size() && e[i].text == "IS") ++i;
        CheckUsage(next("el uso de USAGE"));
      } else if (IsUsage(w)) {
        CheckUsage(t);
      } else if (w == "VALUE" || w == "VALUES") {
        if (i < e.size() && (e[i].text == "IS" || e[i].text == "ARE")) ++i;
        if (i < e.size() && e[i].text == "ALL") ++i;
        next("el valor de VALUE");
      } else if (w == "SIGN") {
        if (i < e.size() && e[i].text == "IS") ++i;
        const Token& where = next("LEADING o TRAILING");
        if (where.text != "TRAILING" || (i < e.size() && e[i].text == "SEPARATE")) {
          Fail(where.line, "solo se admite el signo incluido en el último dígito (SIGN TRAILING)");
        }
      } else if (w == "JUSTIFIED" || w == "JUST" || w == "RIGHT" || w == "LEFT" ||
                 w == "BLANK" || w == "WHEN" || w == "ZERO" || w == "ZEROS" ||
                 w == "ZEROES" || w == "SYNC" || w == "SYNCHRONIZED" || w == "GLOBAL" ||
                 w == "EXTERNAL" || w == "DISPLAY" || w == "IS") {
        // no bearing on the record's text
      } else {
        Fail(t.line, "cláusula no reconocida: " + w);
      }
    }
    return item;
  }

  static bool IsClause(const std::string& w) {
    return w == "PIC" || w == "PICTURE" || w == "OCCURS" || w == "REDEFINES" || w == "USAGE" ||
           w == "VALUE" || w == "VALUES" || w == "SIGN" || IsUsage(w);
  }
  static bool IsUsage(const std::string& w) {
    return w.rfind("COMP", 0) == 0 || w == "BINARY" || w == "PACKED-DECIMAL" || w == "INDEX" ||
           w == "POINTER";
  }
  void CheckUsage(const Token& t) const {
    if (t.text == "DISPLAY") return;
    Fail(t.line, "USAGE " + t.text + " no se admite: el registro del enlace con el host es texto");
  }

  std::unique_ptr<Item> Tree() {
    std::unique_ptr<Item> root;
    std::vector<Item*> stack;
    for (std::vector<Token> e = NextEntry(); !e.empty(); e = NextEntry()) {
      if (e[0].text == "88") continue;  // condition names carry no data
      if (e[0].text == "66") Fail(e[0].line, "RENAMES (nivel 66) no se admite");
      std::unique_ptr<Item> item = ParseEntry(e);
      if (item->level < 1 || item->level > 49) {
        Fail(item->line, "nivel " + std::to_string(item->level) + " fuera de 01-49");
      }
      if (item->level == 1) {
        if (root) Fail(item->line, "el copybook describe más de un registro (otro nivel 01)");
        root = std::move(item);
        stack.assign(1, root.get());
        continue;
      }
      if (!root) Fail(item->line, "falta el nivel 01 del registro");
      while (stack.size() > 1 && stack.back()->level >= item->level) stack.pop_back();
      Item* parent = stack.back();
      if (!parent->picture.empty()) {
        Fail(item->line, parent->name + " tiene PIC y no puede tener subcampos");
      }
      stack.push_back(item.get());
      parent->children.push_back(std::move(item));
    }
    if (!root) throw std::runtime_error(file_ + ": el copybook no describe ningún registro");
    return root;
  }

  struct Picture {
    int32_t type;
    int32_t length;
    int32_t precision;
  };

  Picture ParsePicture(const Item& item) const {
    const std::string& pic = item.picture;
    int32_t x = 0, a = 0, nines = 0, decimals = 0;
    bool sign = false, point = false;
    for (size_t i = 0; i < pic.size();) {
      const char c = pic[i++];
      int64_t repeat = 1;
      if (i < pic.size() && pic[i] == '(') {
        const size_t close = pic.find(')', i);
        const std::string n = close == std::string::npos ? "" : pic.substr(i + 1, close - i - 1);
        if (!IsNumber(n)) Fail(item.line, "repetición inválida en PIC " + pic);
        repeat = std::stoll(n);
        if (repeat < 1 || repeat > kMaxRecordLength) {
          Fail(item.line, "repetición fuera de rango en PIC " + pic);
        }
        i = close + 1;
      }
      switch (c) {
        case 'X': x += static_cast<int32_t>(repeat); break;
        case 'A': a += static_cast<int32_t>(repeat); break;
        case '9':
          nines += static_cast<int32_t>(repeat);
          if (point) decimals += static_cast<int32_t>(repeat);
          break;
        case 'S':
          if (i != 1 || repeat != 1) Fail(item.line, "S debe ir al comienzo de PIC " + pic);
          sign = true;
          break;
        case 'V':
          if (point || repeat != 1) Fail(item.line, "más de una V en PIC " + pic);
          point = true;
          break;
        default:
          Fail(item.line, "PIC " + pic + " no se admite: solo X, A, 9, S y V (sin edición ni escala)");
      }
      if (x + a + nines > kMaxRecordLength) Fail(item.line, "PIC " + pic + " demasiado largo");
    }
    if (x + a + nines == 0) Fail(item.line, "PIC " + pic + " no ocupa caracteres");
    if (x > 0 || (a > 0 && nines > 0)) {
      if (sign || point) Fail(item.line, "PIC " + pic + " mezcla texto con signo o decimales");
      return {qelTypeText, x + a + nines, 0};
    }
    if (a > 0) {
      if (sign || point) Fail(item.line, "PIC " + pic + " mezcla letras con signo o decimales");
      return {qelTypeAlpha, a, 0};
    }
    return {sign ? qelTypeSigned : qelTypeNumeric, nines, decimals};
  }

  void Add(QelRecord& record, const Item& item, const std::string& name, int32_t type,
           int32_t length, const Variant& precision) {
    try {
      record.AddField(FromUtf8(name), type, length, precision);
    } catch (const qel::Error& e) {
      throw CopybookFieldError{file_ + ":" + std::to_string(item.line), e};
    }
  }

  void Emit(QelRecord& record, const Item& item, bool in_list) {
    std::string name = item.name;
    if (name == "FILLER") name = "FILLER_" + std::to_string(++fillers_);
    if (item.picture.empty()) {
      if (item.children.empty()) Fail(item.line, item.name + " no tiene PIC ni subcampos");
      if (item.occurs > 0) {
        if (in_list) Fail(item.line, "OCCURS dentro de OCCURS no se admite: las listas no se anidan");
        Add(record, item, name, qelTypeList, item.occurs, Variant());
      }
      for (const auto& child : item.children) Emit(record, *child, in_list || item.occurs > 0);
      if (item.occurs > 0) Add(record, item, name, qelTypeListEnd, 0, Variant());
      return;
    }
    if (item.occurs > 0) {
      Fail(item.line, "OCCURS en el campo elemental " + item.name +
                          " no se admite: póngalo en un grupo con OCCURS");
    }
    Picture p = ParsePicture(item);
    const std::string key = Normalized(item.name);
    for (const auto& [mapped, type] : options_.map) {
      if (Normalized(mapped) != key) continue;
      used_.insert(key);
      p = {type, p.length, type == qelTypeRut ? 1 : 0};
    }
    Add(record, item, name, p.type, p.length, p.precision > 0 ? Variant(p.precision) : Variant());
  }

  std::string file_;
  const CopybookOptions& options_;
  std::vector<Token> tokens_;
  size_t next_ = 0;
  int fillers_ = 0;
  std::set<std::string> used_;
};

}  // namespace

Text ImportCopybook(std::string_view text, const std::string& file, const CopybookOptions& options) {
  return Reader(text, file, options).Signature();
}

}  // namespace qel::cli

// qel record decode|encode|convert: records of a layout between link texts, fixed-width files,
// JSON Lines and CSV.
//
// Fixed-width files hold one record a line in Windows-1252, each exactly the layout's length;
// the other forms are UTF-8 with the plain value texts of record_io.h. Conversions that read
// fixed records write their fields through RecordTextReader, straight from the record data
// into the output buffer; the other directions store values through the fields (SetValue), so
// the library checks every value. A record that fails stops the command with the line it came
// from; an output file is then left as it was.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cli.h"
#include "commands.h"
#include "qel/frame/text.h"
#include "qel/records/qel_record.h"
#include "records/record_text.h"
#include "record_io.h"

namespace qel::cli {
namespace {

constexpr char kUsage[] =
    "Uso: qel record decode --layout FIRMA [--format table|json|csv] [-o SALIDA] [ARCHIVO...]\n"
    "       qel record encode --layout FIRMA [--sign letters|high-bit] [-o SALIDA] [ARCHIVO...]\n"
    "       qel record convert --layout FIRMA --from fixed|jsonl|csv --to fixed|jsonl|csv\n"
    "                          [--sign letters|high-bit] [-o SALIDA] [ARCHIVO...]\n"
    "\n"
    "FIRMA: un archivo con el texto de la firma del layout (o el texto mismo).\n"
    "  decode   una línea por registro: texto de enlace (con encabezado) o los datos solos;\n"
    "           escribe una tabla (campo y valor), JSON (un objeto por línea) o CSV.\n"
    "  encode   registros en JSON (una línea cada uno) o en líneas CAMPO=valor o\n"
    "           CAMPO(i)=valor terminadas por una línea en blanco; escribe textos de enlace.\n"
    "  convert  archivos de registros: fixed (ancho fijo, Windows-1252, un registro por\n"
    "           línea), jsonl (JSON Lines) o csv (con encabezado; listas como NOMBRE_1..n).\n"
    "  --sign   marca de negativos al escribir: letters (}, J..R; por omisión en convert)\n"
    "           o high-bit (bit 7 del último dígito).\n"
    "Valores: números con \".\" decimal, fechas AAAA-MM-DD, RUT 12345678-5.\n"
    "Sin ARCHIVO o con \"-\": la entrada estándar. Salida: la estándar o -o (escrita completa\n"
    "o no escrita).\n";

enum class Format { kTable, kJson, kCsv, kFixed };

Format ParseFormat(const std::string& name) {
  if (name == "table") return Format::kTable;
  if (name == "json" || name == "jsonl") return Format::kJson;
  if (name == "csv") return Format::kCsv;
  return Format::kFixed;
}

// Writes the current record of a layout in one of the output forms, straight into an output
// block: each record's room is reserved once, then every value is written in place.
class RecordWriter {
 public:
  RecordWriter(const std::shared_ptr<QelRecord>& record, Format format)
      : record_(record), format_(format), reader_(record->Fields()),
        columns_(Columns(*record->Fields())) {
    const auto& fields = *record->Fields();
    for (int32_t p = 1; p <= fields.Count(); ++p) types_.push_back(fields.Item(Variant(p))->DataType());
    if (format_ == Format::kJson) PlanJson(fields);
    size_t width = 0;
    for (const Column& c : columns_) width = std::max(width, c.name.size());
    width_ = static_cast<int>(width);
    // A column takes at most its value quoted, its name (as a JSON key, a CSV header or a
    // table's label with its padding) and a few marks around it.
    row_bytes_ = static_cast<size_t>(record->Length()) + 16;  // the fixed form
    for (const Column& c : columns_) {
      row_bytes_ += kQuotedBytesPerByte * reader_.MaxBytes(c.position) + 2 * width + 16;
    }
    for (const JsonMember& m : json_) row_bytes_ += m.key.size() + 4 * static_cast<size_t>(m.occurrences);
  }

  // The CSV header line; nothing for the other forms.
  void WriteHeader(OutputBlock& out) const {
    if (format_ != Format::kCsv) return;
    char* p = out.Room(row_bytes_);
    for (size_t k = 0; k < columns_.size(); ++k) {
      if (k > 0) *p++ = ',';
      p = QuoteCsv(p, Put(columns_[k].name, p));
    }
    *p++ = '\n';
    out.Commit(p);
  }

  void Write(OutputBlock& out) {
    char* p = out.Room(row_bytes_);
    switch (format_) {
      case Format::kJson: p = WriteJson(p); break;
      case Format::kCsv: p = WriteCsv(p); break;
      case Format::kTable: p = WriteTable(p); break;
      case Format::kFixed: p = WriteFixed(p); break;
    }
    out.Commit(p);
  }

 private:
  struct JsonMember {
    int32_t position;
    std::string key;  // "\"NAME\":"
    std::vector<JsonMember> members;  // of a list
    int32_t occurrences = 1;
  };

  static char* Put(std::string_view text, char* p) {
    std::memcpy(p, text.data(), text.size());
    return p + text.size();
  }

  bool IsText(int32_t position) const {
    return IsTextType(types_[static_cast<size_t>(position - 1)]);
  }

  void PlanJson(const QelRecordFields& fields) {
    auto key = [](const QelRecordField& f) { return "\"" + ToUtf8(f.Name()) + "\":"; };
    for (int32_t p = 1; p <= fields.Count(); ++p) {
      const auto f = fields.Item(Variant(p));
      if (f->InList() || f->DataType() == qelTypeListEnd) continue;
      JsonMember m{p, key(*f), {}, f->DataType() == qelTypeList ? f->Dimensions() : 1};
      if (f->DataType() == qelTypeList) {
        for (int32_t q = p + 1; q <= fields.Count(); ++q) {
          const auto g = fields.Item(Variant(q));
          if (g->DataType() == qelTypeListEnd) break;
          m.members.push_back({q, key(*g), {}, 1});
        }
      }
      json_.push_back(std::move(m));
    }
  }

  char* JsonValueOf(int32_t position, int32_t index, char* p) const {
    char* end = reader_.Write(position, index, p);
    if (end == nullptr) return Put("null", p);
    return IsNumberType(types_[static_cast<size_t>(position - 1)]) ? end : QuoteJson(p, end);
  }

  char* WriteJson(char* p) const {
    *p++ = '{';
    for (size_t k = 0; k < json_.size(); ++k) {
      const JsonMember& m = json_[k];
      if (k > 0) *p++ = ',';
      p = Put(m.key, p);
      if (m.members.empty()) {
        p = JsonValueOf(m.position, 1, p);
        continue;
      }
      *p++ = '[';
      for (int32_t i = 1; i <= m.occurrences; ++i) {
        if (i > 1) *p++ = ',';
        *p++ = '{';
        for (size_t n = 0; n < m.members.size(); ++n) {
          if (n > 0) *p++ = ',';
          p = Put(m.members[n].key, p);
          p = JsonValueOf(m.members[n].position, i, p);
        }
        *p++ = '}';
      }
      *p++ = ']';
    }
    return Put("}\n", p);
  }

  char* WriteCsv(char* p) const {
    for (size_t k = 0; k < columns_.size(); ++k) {
      const Column& c = columns_[k];
      if (k > 0) *p++ = ',';
      char* end = reader_.Write(c.position, c.index, p);
      // Numbers, dates and RUTs never hold a comma, a quote or a line end.
      if (end != nullptr) p = IsText(c.position) ? QuoteCsv(p, end) : end;
    }
    *p++ = '\n';
    return p;
  }

  char* WriteTable(char* p) {
    if (records_++ > 0) *p++ = '\n';
    for (const Column& c : columns_) {
      p = Put(c.name, p);
      const size_t pad = static_cast<size_t>(width_) + 2 - c.name.size();
      std::memset(p, ' ', pad);
      p += pad;
      if (char* end = reader_.Write(c.position, c.index, p)) p = end;
      *p++ = '\n';
    }
    return p;
  }

  char* WriteFixed(char* p) const {
    record_->Fields()->RecordData()->Pad(record_->Length());
    p = Put(ToAnsi(TextView(record_->Data()).substr(0, static_cast<size_t>(record_->Length()))), p);
    *p++ = '\n';
    return p;
  }

  std::shared_ptr<QelRecord> record_;
  Format format_;
  internal::RecordTextReader reader_;
  std::vector<Column> columns_;
  std::vector<int32_t> types_;
  std::vector<JsonMember> json_;
  int width_ = 0;
  size_t row_bytes_ = 0;
  uint64_t records_ = 0;
};

std::string LengthMismatch(size_t got, const QelRecord& record) {
  return "el registro tiene " + std::to_string(got) + " caracteres y el layout " +
         ToUtf8(record.Name()) + " tiene " + std::to_string(record.Length());
}

void SetSign(QelRecord& record, const ParsedArgs& args, const char* fallback) {
  const std::string sign = OneOf(args, "sign", fallback, {"letters", "high-bit", "default"});
  if (sign != "default") record.SetSignANSI(sign == "letters");
}

// The lines of a CSV file: the header names the columns, each later line is one record.
class CsvInput {
 public:
  explicit CsvInput(const std::shared_ptr<QelRecord>& record) : record_(record) {
    for (const Column& c : Columns(*record->Fields())) by_name_.emplace(c.name, c);
  }

  // False for the header line (consumed).
  bool Load(std::string_view line, const std::string& where) {
    if (!SplitCsv(line, cells_)) throw std::runtime_error(where + ": línea CSV mal formada");
    if (header_.empty()) {
      for (const std::string& name : cells_) {
        std::string upper = name;
        for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
        const auto it = by_name_.find(upper);
        if (it == by_name_.end()) {
          throw std::runtime_error(where + ": la columna '" + name + "' no es un campo del layout " +
                                   ToUtf8(record_->Name()));
        }
        header_.push_back(it->second);
      }
      if (header_.empty()) throw std::runtime_error(where + ": falta el encabezado CSV");
      return false;
    }
    if (cells_.size() != header_.size()) {
      throw std::runtime_error(where + ": " + std::to_string(cells_.size()) + " columnas; el encabezado tiene " +
                               std::to_string(header_.size()));
    }
    record_->Initialize();
    const auto& fields = *record_->Fields();
    for (size_t k = 0; k < cells_.size(); ++k) {
      const auto field = fields.Item(Variant(header_[k].position));
      field->SetValue(PlainValue(*field, cells_[k]), header_[k].index);
    }
    return true;
  }

 private:
  std::shared_ptr<QelRecord> record_;
  std::map<std::string, Column> by_name_;  // bounded by the layout, not by the input
  std::vector<Column> header_;
  std::vector<std::string> cells_;
};

// The Windows-1252 byte -> UTF-16 unit table.
const std::array<char16_t, 256>& AnsiTable() {
  static const std::array<char16_t, 256> table = [] {
    std::array<char16_t, 256> t{};
    std::string all(256, '\0');
    for (int b = 0; b < 256; ++b) all[static_cast<size_t>(b)] = static_cast<char>(b);
    const Text units = FromAnsi(all);
    for (size_t b = 0; b < 256; ++b) t[b] = units[b];
    return t;
  }();
  return table;
}

// Windows-1252 bytes into UTF-16 units. Below 0x80 and from 0xA0 on, a byte is its own code
// point; widen every byte in one pass that vectorises, and go through the table for the bytes
// 0x80..0x9F (quotes, the euro sign) only when one was seen.
void WidenAnsi(std::string_view bytes, std::span<char16_t> units,
               const std::array<char16_t, 256>& table) {
  bool c1 = false;
  for (size_t i = 0; i < bytes.size(); ++i) {
    const auto b = static_cast<unsigned char>(bytes[i]);
    c1 |= (b & 0xE0) == 0x80;
    units[i] = b;
  }
  if (!c1) return;
  for (size_t i = 0; i < bytes.size(); ++i) units[i] = table[static_cast<unsigned char>(bytes[i])];
}

// Runs `body` for the input line at `where`. A library error or unusable input is reported
// with its place (once: a message that already starts with it keeps it) and gives false.
bool ReportingFailures(const std::string& where, const std::function<void()>& body) {
  try {
    body();
    return true;
  } catch (const qel::Error& e) {
    ReportError(e, where);
  } catch (const std::runtime_error& e) {
    const std::string text = e.what();
    ReportFailure(text.rfind(where, 0) == 0 ? text : where + ": " + text);
  }
  return false;
}

int Convert(const ParsedArgs& args) {
  if (!args.Has("layout")) throw UsageError("falta --layout");
  if (!args.Has("from") || !args.Has("to")) throw UsageError("faltan --from y --to");
  const std::string from = OneOf(args, "from", "", {"fixed", "jsonl", "csv"});
  const std::string to = OneOf(args, "to", "", {"fixed", "jsonl", "csv"});
  auto record = LoadLayout(args.Get("layout"));
  SetSign(*record, args, "letters");
  RecordWriter writer(record, ParseFormat(to));
  const size_t length = static_cast<size_t>(record->Length());
  Output out(args.Get("o", "-"));
  OutputBlock block(out);
  writer.WriteHeader(block);
  uint64_t count = 0, bytes = 0;
  Progress progress("registros", TotalSize(args.operands));
  bool failed = false;

  if (from == "fixed") {
    const auto& table = AnsiTable();
    const auto data = record->Fields()->RecordData();
    ForEachRawLine(args.operands, [&](std::string_view line, const std::string& file, uint64_t number) {
      if (line.size() != length) {
        failed = true;
        ReportFailure(Where(file, number) + ": " + LengthMismatch(line.size(), *record));
        return false;
      }
      WidenAnsi(line, data->Overwrite(length), table);
      try {
        writer.Write(block);
      } catch (const qel::Error& e) {
        failed = true;
        ReportError(e, Where(file, number));
        return false;
      }
      block.Drain();
      progress.Tick(++count, bytes);
      return true;
    }, &bytes);
  } else {
    CsvInput csv(record);
    ForEachLine(args.operands, [&](std::string_view line, const std::string& where) {
      bytes += line.size() + 1;
      if (line.find_first_not_of(" \t") == std::string_view::npos) return true;
      bool wrote = false;
      if (!ReportingFailures(where, [&] {
            if (from == "jsonl") {
              record->Initialize();
              FillFromJson(*record, ParseJson(line));
            } else if (!csv.Load(line, where)) {
              return;
            }
            writer.Write(block);
            wrote = true;
          })) {
        failed = true;
        return false;
      }
      if (!wrote) return true;
      block.Drain();
      progress.Tick(++count, bytes);
      return true;
    });
  }
  progress.Finish();
  if (failed) return kExitFailed;
  block.Drain(true);
  out.Commit();
  return kExitOk;
}

int Decode(const ParsedArgs& args) {
  if (!args.Has("layout")) throw UsageError("falta --layout");
  const std::string format = OneOf(args, "format", "table", {"table", "json", "csv"});
  auto record = LoadLayout(args.Get("layout"));
  RecordWriter writer(record, ParseFormat(format));
  Output out(args.Get("o", "-"));
  OutputBlock block(out);
  writer.WriteHeader(block);
  bool failed = false;
  ForEachLine(args.operands, [&](std::string_view line, const std::string& where) {
    if (line.empty()) return true;
    if (!ReportingFailures(where, [&] {
          const Text text = FromUtf8(line);
          if (text.find(kHeaderSeparator) != Text::npos) {
            record->UnSerialize(text);
          } else {
            if (text.size() != static_cast<size_t>(record->Length())) {
              throw std::runtime_error(LengthMismatch(text.size(), *record));
            }
            record->SetData(Variant(text));
          }
          writer.Write(block);
        })) {
      failed = true;
      return false;
    }
    block.Drain();
    return true;
  });
  if (failed) return kExitFailed;
  block.Drain(true);
  out.Commit();
  return kExitOk;
}

// "NAME=value" or "NAME(i)=value".
void SetKeyValue(QelRecord& record, std::string_view line) {
  const size_t eq = line.find('=');
  if (eq == std::string_view::npos) throw std::runtime_error("se esperaba CAMPO=valor");
  std::string_view key = line.substr(0, eq);
  while (!key.empty() && key.back() == ' ') key.remove_suffix(1);
  while (!key.empty() && key.front() == ' ') key.remove_prefix(1);
  int32_t index = 1;
  const size_t paren = key.find('(');
  if (paren != std::string_view::npos && key.back() == ')') {
    const std::string_view n = key.substr(paren + 1, key.size() - paren - 2);
    index = 0;
    for (char c : n) {
      if (c < '0' || c > '9' || index > 100000) throw std::runtime_error("índice inválido en " + std::string(key));
      index = index * 10 + (c - '0');
    }
    key = key.substr(0, paren);
  }
  const auto field = record.Fields()->FindName(FromUtf8(key));
  if (!field) {
    throw std::runtime_error("el campo '" + std::string(key) + "' no existe en el registro '" +
                             ToUtf8(record.Name()) + "'");
  }
  field->SetValue(PlainValue(*field, line.substr(eq + 1)), index);
}

int Encode(const ParsedArgs& args) {
  if (!args.Has("layout")) throw UsageError("falta --layout");
  auto record = LoadLayout(args.Get("layout"));
  SetSign(*record, args, "default");
  Output out(args.Get("o", "-"));
  OutputBlock block(out);
  bool failed = false, open = false;
  auto flush = [&] {
    if (!open) return;
    block.Append(ToUtf8(record->Serialize()));
    block.Append("\n");
    open = false;
  };
  ForEachLine(args.operands, [&](std::string_view line, const std::string& where) {
    if (!ReportingFailures(where, [&] {
          if (line.find_first_not_of(" \t") == std::string_view::npos) {
            flush();
            return;
          }
          if (!open) record->Initialize();
          if (line.front() == '{') {
            if (open) throw std::runtime_error("un registro JSON dentro de líneas CAMPO=valor");
            FillFromJson(*record, ParseJson(line));
            open = true;
            flush();
          } else {
            SetKeyValue(*record, line);
            open = true;
          }
        })) {
      failed = true;
      return false;
    }
    block.Drain();
    return true;
  });
  if (failed) return kExitFailed;
  flush();
  block.Drain(true);
  out.Commit();
  return kExitOk;
}

}  // namespace

int RunRecord(std::span<char* const> args) {
  if (WantsHelp(args) || args.empty()) {
    std::fputs(kUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  const std::string action = args[0];
  ParsedArgs parsed =
      ParseArgs(args.subspan(1), {"layout", "format", "from", "to", "sign", "o", "output"});
  for (auto& [n, v] : parsed.options) {
    if (n == "output") n = "o";
  }
  if (action == "decode") return Decode(parsed);
  if (action == "encode") return Encode(parsed);
  if (action == "convert") return Convert(parsed);
  throw UsageError("acción desconocida: " + action);
}

}  // namespace qel::cli

// qel layout build|show|import: signature texts from declaration files and copybooks, and
// signature texts shown as tables.
//
// A declaration file holds one field a line, as AddField takes it, separated by blanks:
//   NAME TYPE LENGTH [PRECISION [DEFAULT...]]
// TYPE is a descriptor code (X N S D R A LB LE) or the type's number (1..8); a list is a LB
// line, its members, and a LE line with the same name. Blank lines and lines starting with
// "#" are skipped; the default is the rest of the line. Each line goes to AddField, so the
// library's checks and messages apply, reported with the line they came from.
#include <cstdio>
#include <string>
#include <vector>

#include "cli.h"
#include "commands.h"
#include "copybook.h"
#include "qel/fields/field_types.h"
#include "qel/frame/text.h"
#include "qel/records/qel_record.h"
#include "record_io.h"

namespace qel::cli {
namespace {

constexpr char kUsage[] =
    "Uso: qel layout build [--name NOMBRE] [-o SALIDA] ARCHIVO\n"
    "       qel layout show FIRMA\n"
    "       qel layout import [--name NOMBRE] [--map MAPA] [-o SALIDA] COPYBOOK\n"
    "\n"
    "  build   lee una declaración (un campo por línea: NOMBRE TIPO LARGO [PRECISIÓN\n"
    "          [DEFECTO]]; TIPO: X N S D R A LB LE o 1..8) y escribe la firma del layout.\n"
    "          El nombre del layout es --name o el del archivo sin extensión.\n"
    "  show    muestra los campos de una firma: nombre, tipo, inicio, largo, precisión,\n"
    "          ocurrencias.\n"
    "  import  convierte la descripción de registro de un copybook COBOL en una firma\n"
    "          (niveles 01-49, PIC X/A/9/S9 con V, OCCURS en grupos; REDEFINES y COMP no).\n"
    "          MAPA: líneas \"NOMBRE D\" o \"NOMBRE R\" para campos que son fechas o RUT.\n"
    "ARCHIVO, COPYBOOK o FIRMA \"-\": la entrada estándar. Salida: la estándar o -o.\n";

int32_t TypeOf(std::string_view code) {
  for (int32_t t = qelTypeList; t <= qelTypeListEnd; ++t) {
    if (ToUtf8(FieldTypeCode(t)) == code) return t;
  }
  if (code.size() == 1 && code[0] >= '0' && code[0] <= '9') return code[0] - '0';
  return 0;  // AddField refuses it with the library's message
}

std::vector<std::string> Words(std::string_view line, size_t max, std::string* rest) {
  std::vector<std::string> words;
  size_t i = 0;
  while (words.size() < max) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    if (i == line.size()) break;
    size_t j = i;
    while (j < line.size() && line[j] != ' ' && line[j] != '\t') ++j;
    words.emplace_back(line.substr(i, j - i));
    i = j;
  }
  while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
  *rest = std::string(line.substr(i));
  return words;
}

int32_t Number(const std::string& word, const std::string& where, const char* what) {
  int32_t v = 0;
  bool ok = !word.empty() && word.size() <= 9;
  for (char c : word) ok = ok && c >= '0' && c <= '9';
  if (!ok) throw std::runtime_error(where + ": " + what + " no es un número: '" + word + "'");
  for (char c : word) v = v * 10 + (c - '0');
  return v;
}

std::string BaseName(const std::string& path) {
  std::string base = path.substr(path.find_last_of('/') + 1);
  const size_t dot = base.find('.');
  return dot == std::string::npos || dot == 0 ? base : base.substr(0, dot);
}

int Build(const ParsedArgs& args) {
  if (args.operands.size() != 1) throw UsageError("build recibe un archivo");
  const std::string file = args.operands[0];
  std::string name = args.Get("name", file == "-" ? "" : BaseName(file));
  if (name.empty()) throw UsageError("falta --name para una declaración leída de la entrada");
  QelRecord record;
  record.DefLayout(FromUtf8(name));
  bool failed = false;
  const std::string files[] = {file};
  ForEachLine(files, [&](std::string_view line, const std::string& where) {
    std::string rest;
    const std::vector<std::string> w = Words(line, 4, &rest);
    if (w.empty() || w[0][0] == '#') return true;
    if (w.size() < 3) {
      failed = true;
      ReportFailure(where + ": se esperaba NOMBRE TIPO LARGO [PRECISIÓN [DEFECTO]]");
      return false;
    }
    try {
      const int32_t length = Number(w[2], where, "el largo");
      const Variant precision = w.size() > 3 ? Variant(Number(w[3], where, "la precisión")) : Variant();
      const Variant def = rest.empty() ? Variant() : Variant(FromUtf8(rest));
      record.AddField(FromUtf8(w[0]), TypeOf(w[1]), length, precision, def);
    } catch (const qel::Error& e) {
      ReportError(e, where);
      failed = true;
      return false;
    }
    return true;
  });
  if (failed) return kExitFailed;
  // Applied, so that the signature's own reader checks what AddField leaves open (the lengths
  // a date or a RUT may have): a text no record would accept is never written.
  const Text signature = record.EndLayout(true);
  Output out(args.Get("o", "-"));
  out.Write(ToUtf8(signature));
  out.Write("\n");
  out.Commit();
  return kExitOk;
}

int Show(const ParsedArgs& args) {
  if (args.operands.size() != 1) throw UsageError("show recibe una firma");
  auto record = LoadLayout(args.operands[0]);
  Output out(args.Get("o", "-"));
  char line[256];
  std::snprintf(line, sizeof line, "Layout %s: %d caracteres, firma %s\n",
                ToUtf8(record->Name()).c_str(), record->Length(),
                ToUtf8(record->Signature()).c_str());
  out.Write(line);
  std::snprintf(line, sizeof line, "%-32s %-4s %7s %7s %9s %11s\n", "NOMBRE", "TIPO", "INICIO",
                "LARGO", "PRECISIÓN", "OCURRENCIAS");
  out.Write(line);
  for (const auto& f : *record->Fields()) {
    const std::string name = (f->InList() ? "  " : "") + ToUtf8(f->Name());
    const int32_t occurrences = f->DataType() == qelTypeList ? f->Dimensions() : f->Occurrences();
    std::snprintf(line, sizeof line, "%-32s %-4s %7d %7d %9d %11d\n", name.c_str(),
                  ToUtf8(FieldTypeCode(f->DataType())).c_str(), f->Start(), f->Length(),
                  f->Precision(), occurrences);
    out.Write(line);
  }
  out.Commit();
  return kExitOk;
}

int Import(const ParsedArgs& args) {
  if (args.operands.size() != 1) throw UsageError("import recibe un copybook");
  const std::string file = args.operands[0];
  CopybookOptions options;
  options.name = args.Get("name");
  if (args.Has("map")) {
    const std::string map[] = {args.Get("map")};
    ForEachLine(map, [&](std::string_view line, const std::string& where) {
      std::string rest;
      const std::vector<std::string> w = Words(line, 2, &rest);
      if (w.empty() || w[0][0] == '#') return true;
      if (w.size() != 2 || !rest.empty() || (w[1] != "D" && w[1] != "R")) {
        throw std::runtime_error(where + ": se esperaba NOMBRE D o NOMBRE R");
      }
      options.map.emplace_back(w[0], w[1] == "D" ? qelTypeDate : qelTypeRut);
      return true;
    });
  }
  const std::string text = ReadAll(file);
  Text signature;
  try {
    signature = ImportCopybook(text, file == "-" ? "<stdin>" : file, options);
  } catch (const CopybookFieldError& e) {
    return ReportError(e.error, e.where);
  }
  Output out(args.Get("o", "-"));
  out.Write(ToUtf8(signature));
  out.Write("\n");
  out.Commit();
  return kExitOk;
}

}  // namespace

int RunLayout(std::span<char* const> args) {
  if (WantsHelp(args) || args.empty()) {
    std::fputs(kUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  const std::string action = args[0];
  const ParsedArgs parsed = ParseArgs(args.subspan(1), {"name", "map", "o", "output"});
  ParsedArgs normalized = parsed;
  for (auto& [n, v] : normalized.options) {
    if (n == "output") n = "o";
  }
  if (action == "build") return Build(normalized);
  if (action == "show") return Show(normalized);
  if (action == "import") return Import(normalized);
  throw UsageError("acción desconocida: " + action);
}

}  // namespace qel::cli

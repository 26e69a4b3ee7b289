// qel props to-text|to-indented|to-postdata|check: property bag texts in and out.
//
// The input is bag text (compact or indented) in UTF-8, from a file or stdin. check writes
// nothing for a good text; for a bad one it reports the library's syntax error with the line
// and column where the unexpected token ends.
#include <cstdio>
#include <string>

#include "cli.h"
#include "commands.h"
#include "props/props_format.h"
#include "qel/frame/text.h"
#include "qel/props/qel_props.h"

namespace qel::cli {
namespace {

constexpr char kUsage[] =
    "Uso: qel props to-text|to-indented|to-postdata|check [-o SALIDA] [ARCHIVO]\n"
    "\n"
    "Lee el texto de una bolsa de propiedades (compacto o indentado, UTF-8) y lo escribe\n"
    "  to-text      en la forma compacta (N=5;D:7=\"15/03/2006\";Q=[X=1])\n"
    "  to-indented  una propiedad por línea, las bolsas anidadas indentadas\n"
    "  to-postdata  como campos de formulario (N=5&D=15%2F03%2F2006)\n"
    "  check        no escribe nada si el texto es correcto; si no, el error con su línea\n"
    "               y columna\n"
    "Sin ARCHIVO o con \"-\": la entrada estándar.\n";

// "línea L, columna C" of the unit before `offset` (of the end of the text when 0).
std::string LineColumn(TextView text, size_t offset) {
  const size_t at = offset == 0 ? 0 : offset - 1;
  size_t line = 1, column = 1;
  for (size_t i = 0; i < at && i < text.size(); ++i) {
    if (text[i] == u'\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  return "línea " + std::to_string(line) + ", columna " + std::to_string(column);
}

}  // namespace

int RunProps(std::span<char* const> args) {
  if (WantsHelp(args) || args.empty()) {
    std::fputs(kUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  const std::string action = args[0];
  int32_t format = qelFormatNormal;
  if (action == "to-indented") {
    format = qelFormatIndented;
  } else if (action == "to-postdata") {
    format = qelFormatPostData;
  } else if (action != "to-text" && action != "check") {
    throw UsageError("acción desconocida: " + action);
  }
  ParsedArgs parsed = ParseArgs(args.subspan(1), {"o", "output"});
  for (auto& [n, v] : parsed.options) {
    if (n == "output") n = "o";
  }
  if (parsed.operands.size() > 1) throw UsageError("se lee un solo archivo");
  const std::string file = parsed.operands.empty() ? "-" : parsed.operands[0];
  const std::string shown = file == "-" ? "<stdin>" : file;
  const std::string bytes = ReadAll(file);
  if (!IsValidUtf8(bytes)) return ReportFailure(shown + ": no es UTF-8 válido");
  const Text text = FromUtf8(bytes);
  QelProps bag;
  size_t offset = 0;
  try {
    internal::ReadBagText(text, &bag, &offset);
  } catch (const qel::Error& e) {
    return ReportError(e, offset > 0 || text.empty() ? shown + ": " + LineColumn(text, offset)
                                                     : shown);
  }
  if (action == "check") return kExitOk;
  Output out(parsed.Get("o", "-"));
  out.Write(ToUtf8(bag.ToText(format)));
  out.Write("\n");
  out.Commit();
  return kExitOk;
}

}  // namespace qel::cli

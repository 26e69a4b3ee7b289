// qel rut validate|format|check: the RUT routines over arguments or input lines.
//
// Each RUT is one argument, or with no RUT arguments ("-f FILE"... or none) one line of the
// input files or stdin; blank lines are skipped. A RUT that fails is reported on stderr with
// where it was found and the library's error, the others still go through, and the exit
// status is then 1.
#include <cstdio>
#include <string>
#include <vector>

#include "cli.h"
#include "commands.h"
#include "qel/fields/rut.h"
#include "qel/frame/text.h"

namespace qel::cli {
namespace {

constexpr char kUsage[] =
    "Uso: qel rut validate|format|check [--unknown] [--width N] [--plain] [RUT...]\n"
    "       qel rut validate|format|check [opciones] --input ARCHIVO... (\"-\": entrada estándar)\n"
    "\n"
    "Sin RUT en la línea de comandos lee uno por línea de los archivos o de la entrada.\n"
    "  validate  escribe la forma compacta (dígitos y dígito verificador: 123456785)\n"
    "  format    escribe la forma de presentación (12.345.678-5; --plain: 12345678-5);\n"
    "            acepta también la forma compacta\n"
    "  check     no escribe nada: el estado de salida dice si todos son válidos\n"
    "  --unknown acepta \"?\" como dígito verificador y lo calcula\n"
    "  --width N forma compacta de N caracteres (validate)\n"
    "Estado de salida: 0 todos válidos, 1 alguno inválido, 2 uso incorrecto.\n";

}  // namespace

int RunRut(std::span<char* const> args) {
  if (WantsHelp(args) || args.empty()) {
    std::fputs(kUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  const std::string action = args[0];
  if (action != "validate" && action != "format" && action != "check") {
    throw UsageError("acción desconocida: " + action);
  }
  const ParsedArgs parsed = ParseArgs(args.subspan(1), {"width", "input"}, {"unknown", "plain"});
  const bool unknown = parsed.Has("unknown");
  const bool plain = parsed.Has("plain");
  int32_t width = 0;
  if (parsed.Has("width")) {
    try {
      width = std::stoi(parsed.Get("width"));
    } catch (const std::exception&) {
      throw UsageError("--width debe ser un número");
    }
    if (width < 0 || width > 64) throw UsageError("--width debe estar entre 0 y 64");
  }
  std::vector<std::string> inputs;
  for (const auto& [name, value] : parsed.options) {
    if (name == "input") inputs.push_back(value);
  }
  if (!inputs.empty() && !parsed.operands.empty()) {
    throw UsageError("RUT en la línea de comandos y --input a la vez");
  }

  Output out("-");
  int status = kExitOk;
  auto one = [&](std::string_view rut, const std::string& where) {
    try {
      Text typed = FromUtf8(rut);
      // format also takes the compact form, which has no "-" before its check character.
      if (action == "format" && typed.find(u'-') == Text::npos && Trim(typed).size() > 1) {
        typed = Text(Trim(typed));
        typed.insert(typed.size() - 1, u"-");
      }
      const Text compact = QelValidateRUT(typed, width, unknown, unknown);
      if (action == "validate") {
        out.Write(ToUtf8(compact));
        out.Write("\n");
      } else if (action == "format") {
        out.Write(ToUtf8(QelFormatRUT(compact, !plain)));
        out.Write("\n");
      }
    } catch (const qel::Error& e) {
      ReportError(e, where);
      status = kExitFailed;
    }
  };
  if (inputs.empty() && !parsed.operands.empty()) {
    for (size_t i = 0; i < parsed.operands.size(); ++i) {
      one(parsed.operands[i], "argumento " + std::to_string(i + 1));
    }
  } else {
    ForEachLine(inputs, [&](std::string_view line, const std::string& where) {
      if (Trim(FromUtf8(line)).empty()) return true;
      one(line, where);
      return true;
    });
  }
  out.Commit();
  return status;
}

}  // namespace qel::cli

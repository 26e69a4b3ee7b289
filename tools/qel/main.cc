// qel: the library's everyday jobs from a shell.
//
//   qel [COMMAND] [ARGS...]      COMMAND defaults to "demo"; "qel --help" lists them all,
//                                "qel COMMAND --help" tells one's usage; "qel --version".
// Exit status: 0 done, 1 failed (a library error or unusable input), 2 bad command line.
#include <cstdio>
#include <cstring>
#include <exception>

#include "cli.h"
#include "commands.h"

namespace {

using qel::cli::Command;

constexpr Command kCommands[] = {
    {"demo", "una transacción típica con un host simulado", qel::cli::RunDemo},
    {"classes", "lista las clases creables", qel::cli::RunClasses},
    {"rut", "valida, formatea o revisa RUT", qel::cli::RunRut},
    {"layout", "construye, muestra o importa layouts (firmas)", qel::cli::RunLayout},
    {"record", "decodifica, codifica y convierte registros", qel::cli::RunRecord},
    {"props", "convierte y revisa textos de bolsas de propiedades", qel::cli::RunProps},
    {"eval", "evalúa una fórmula sobre un registro", qel::cli::RunEval},
    {"url", "separa y combina URL", qel::cli::RunUrl},
    {"http", "pide una URL por HTTP o HTTPS (get, post)", qel::cli::RunHttp},
    {"dde", "cliente de servicios DDE del bus de sesión", qel::cli::RunDde},
};

void PrintHelp(std::FILE* out) {
  std::fprintf(out, "Uso: qel [COMANDO] [ARGUMENTOS...]\n\nComandos:\n");
  for (const Command& c : kCommands) std::fprintf(out, "  %-10s %s\n", c.name, c.summary);
  std::fprintf(out,
               "\n\"qel COMANDO --help\" muestra el uso de cada comando. Sin comando: demo.\n"
               "Estado de salida: 0 correcto, 1 fallo, 2 uso incorrecto.\n");
}

}  // namespace

int main(int argc, char** argv) {
  const char* name = argc > 1 ? argv[1] : "demo";
  if (std::strcmp(name, "-h") == 0 || std::strcmp(name, "--help") == 0 ||
      std::strcmp(name, "help") == 0) {
    PrintHelp(stdout);
    return qel::cli::kExitOk;
  }
  if (std::strcmp(name, "--version") == 0) {
    std::printf("qel (qelstd) %s\n", QEL_VERSION_TEXT);
    return qel::cli::kExitOk;
  }
  const std::span<char* const> args(argv + (argc > 1 ? 2 : 1), argv + argc);
  for (const Command& c : kCommands) {
    if (std::strcmp(name, c.name) != 0) continue;
    try {
      return c.run(args);
    } catch (const qel::cli::UsageError& e) {
      std::fprintf(stderr, "qel %s: %s\n(\"qel %s --help\" muestra el uso)\n", c.name, e.what(),
                   c.name);
      return qel::cli::kExitUsage;
    } catch (const qel::Error& e) {
      return qel::cli::ReportError(e);
    } catch (const std::exception& e) {
      return qel::cli::ReportFailure(e.what());
    }
  }
  std::fprintf(stderr, "qel: comando desconocido: %s\n", name);
  PrintHelp(stderr);
  return qel::cli::kExitUsage;
}

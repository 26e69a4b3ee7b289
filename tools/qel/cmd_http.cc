// qel http get URL [options]        GET: the reply's headers as a bag, the body as bytes
// qel http post URL DATA [options]  POST DATA as form data, likewise
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "cli.h"
#include "commands.h"
#include "qel/inet/qel_inet.h"

namespace qel::cli {
namespace {

constexpr char kUsage[] =
    "Uso: qel http get URL [OPCIONES]\n"
    "     qel http post URL DATOS [OPCIONES]\n\n"
    "Opciones:\n"
    "  --header LINEA   agrega una línea de encabezado (se puede repetir)\n"
    "  --gzip           pide la respuesta comprimida (Accept-Encoding: gzip, deflate)\n"
    "  --timeout MS     máximo de milisegundos de cada espera por el servidor\n"
    "  --output ARCHIVO escribe el cuerpo en ARCHIVO (\"-\": salida estándar)\n\n"
    "Los encabezados de la respuesta se muestran como bolsa de propiedades: en la salida\n"
    "estándar cuando el cuerpo va a un archivo, si no en la salida de errores. El cuerpo se\n"
    "escribe tal como llega (descomprimido si vino en gzip); un archivo se escribe entero o\n"
    "no se escribe. Mientras llega un cuerpo de más de 1 MB, una línea de avance en la\n"
    "salida de errores, si es una terminal.\n";

// "\r3,5 MB de 10,0 MB" on stderr while a body over 1 MB arrives, when stderr is a terminal;
// at most four times a second.
class BodyProgress {
 public:
  BodyProgress() : enabled_(isatty(2) != 0) {}
  ~BodyProgress() {
    if (shown_) std::fputc('\n', stderr);
  }
  void Update(int32_t received, int32_t total) {
    constexpr int32_t kMB = 1 << 20;
    if (!enabled_ || (received <= kMB && total <= kMB)) return;
    const auto now = std::chrono::steady_clock::now();
    if (shown_ && now - last_ < std::chrono::milliseconds(250)) return;
    last_ = now;
    shown_ = true;
    std::string line = "\r" + Megabytes(received) + " MB";
    if (total > 0) line += " de " + Megabytes(total) + " MB";
    std::fprintf(stderr, "%s\x1b[K", line.c_str());
  }

 private:
  static std::string Megabytes(int32_t bytes) {
    const int32_t tenths = static_cast<int32_t>(static_cast<int64_t>(bytes) * 10 / (1 << 20));
    return std::to_string(tenths / 10) + "," + std::to_string(tenths % 10);
  }

  bool enabled_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point last_;
};

int32_t ParseTimeout(const char* text) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || value < 0 || value > 2147483647L) {
    throw UsageError(std::string("--timeout espera milisegundos: ") + text);
  }
  return static_cast<int32_t>(value);
}

}  // namespace

int RunHttp(std::span<char* const> args) {
  if (WantsHelp(args)) {
    std::printf("%s", kUsage);
    return kExitOk;
  }
  if (args.empty()) throw UsageError("falta get o post");
  const std::string verb = args[0];
  if (verb != "get" && verb != "post") throw UsageError("subcomando desconocido: " + verb);
  std::vector<std::string> positional;
  Text headers;
  int32_t options = 0;
  int32_t timeout_ms = 0;
  std::string output;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string arg = args[i];
    const bool has_value = i + 1 < args.size();
    if (arg == "--header") {
      if (!has_value) throw UsageError("--header necesita una línea");
      headers += FromUtf8(args[++i]);
      headers += u"\r\n";
    } else if (arg == "--gzip") {
      options |= qelHttpOptRequestGzip;
    } else if (arg == "--timeout") {
      if (!has_value) throw UsageError("--timeout necesita milisegundos");
      timeout_ms = ParseTimeout(args[++i]);
    } else if (arg == "--output") {
      if (!has_value) throw UsageError("--output necesita un archivo");
      output = args[++i];
    } else if (arg.starts_with("--")) {
      throw UsageError("opción desconocida: " + arg);
    } else {
      positional.push_back(arg);
    }
  }
  const size_t wanted = verb == "get" ? 1 : 2;
  if (positional.size() != wanted) {
    throw UsageError(verb == "get" ? "get necesita una URL" : "post necesita URL y DATOS");
  }

  const bool body_to_stdout = output.empty() || output == "-";
  QelInet inet;
  auto print_headers = [&] {
    if (inet.Headers()->Count() == 0) return;
    std::FILE* to = body_to_stdout ? stderr : stdout;
    std::fprintf(to, "%s\n", ToUtf8(inet.Headers()->ToText(qelFormatIndented)).c_str());
  };
  Variant body;
  try {
    // The progress line ends (and its line is closed) before the headers are printed.
    BodyProgress progress;
    inet.ProgressEvent.Connect(
        [&progress](int32_t received, int32_t total) { progress.Update(received, total); });
    body = verb == "get" ? inet.HttpGet(FromUtf8(positional[0]), headers, options, timeout_ms)
                         : inet.HttpPost(FromUtf8(positional[0]), FromUtf8(positional[1]),
                                         headers, options, timeout_ms);
  } catch (const Error& e) {
    print_headers();  // a status error leaves the reply's headers to show
    return ReportError(e);
  }
  print_headers();
  Output out(output);
  if (!body.IsNull()) {
    const ByteArray& bytes = body.Get<ByteArray>();
    out.Write(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  }
  out.Commit();
  return kExitOk;
}

}  // namespace qel::cli

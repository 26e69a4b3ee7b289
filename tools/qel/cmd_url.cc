// qel url split URL...   the parts of each URL, one "Name=value" line each
// qel url combine BASE RELATIVE   the reference resolved against the base
#include <cstdio>
#include <cstring>
#include <string>

#include "cli.h"
#include "commands.h"
#include "qel/inet/qel_inet.h"

namespace qel::cli {
namespace {

constexpr char kUsage[] =
    "Uso: qel url split URL...\n"
    "     qel url combine BASE RELATIVA\n\n"
    "split muestra las partes de cada URL (Scheme, HostName, Port, UserName, Password,\n"
    "UrlPath, ExtraInfo), sin decodificar nada. combine resuelve RELATIVA contra BASE como un\n"
    "navegador.\n";

void PrintParts(const QelInet& inet) {
  std::printf("URL=%s\nScheme=%d\nSchemeName=%s\nHostName=%s\nPort=%d\nUserName=%s\n"
              "Password=%s\nUrlPath=%s\nExtraInfo=%s\n",
              ToUtf8(inet.URL()).c_str(), inet.Scheme(), ToUtf8(inet.SchemeName()).c_str(),
              ToUtf8(inet.HostName()).c_str(), inet.Port(), ToUtf8(inet.UserName()).c_str(),
              ToUtf8(inet.Password()).c_str(), ToUtf8(inet.UrlPath()).c_str(),
              ToUtf8(inet.ExtraInfo()).c_str());
}

}  // namespace

int RunUrl(std::span<char* const> args) {
  if (WantsHelp(args)) {
    std::printf("%s", kUsage);
    return kExitOk;
  }
  if (args.empty()) throw UsageError("falta split o combine");
  const std::string verb = args[0];
  const auto rest = args.subspan(1);
  QelInet inet;
  if (verb == "split") {
    if (rest.empty()) throw UsageError("split necesita al menos una URL");
    for (size_t i = 0; i < rest.size(); ++i) {
      if (i > 0) std::printf("\n");
      inet.SplitURL(FromUtf8(rest[i]));
      PrintParts(inet);
    }
    return kExitOk;
  }
  if (verb == "combine") {
    if (rest.size() != 2) throw UsageError("combine necesita BASE y RELATIVA");
    std::printf("%s\n", ToUtf8(inet.CombineURL(FromUtf8(rest[0]), FromUtf8(rest[1]))).c_str());
    return kExitOk;
  }
  throw UsageError("subcomando desconocido: " + verb);
}

}  // namespace qel::cli

// qel eval: a formula evaluated over one record, as QelRecord::Eval does it.
#include <cstdio>
#include <iostream>
#include <string>

#include "cli.h"
#include "commands.h"
#include "qel/frame/convert.h"
#include "qel/frame/text.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_record.h"
#include "qel/records/qel_record_labels.h"
#include "record_io.h"

namespace qel::cli {
namespace {

constexpr char kUsage[] =
    "Uso: qel eval --layout FIRMA --record DATOS [--formulas BOLSA] EXPRESIÓN\n"
    "\n"
    "Evalúa EXPRESIÓN sobre el registro y escribe el resultado.\n"
    "  --record   un texto de enlace o los datos del registro (\"-\": la primera línea de la\n"
    "             entrada estándar)\n"
    "  --formulas archivo con una bolsa de propiedades de fórmulas con nombre (@NOMBRE)\n";

}  // namespace

int RunEval(std::span<char* const> args) {
  if (WantsHelp(args)) {
    std::fputs(kUsage, stdout);
    return kExitOk;
  }
  const ParsedArgs parsed = ParseArgs(args, {"layout", "record", "formulas"});
  if (!parsed.Has("layout") || !parsed.Has("record")) throw UsageError("faltan --layout y --record");
  if (parsed.operands.size() != 1) throw UsageError("se espera una expresión");
  const std::string expression = parsed.operands[0];
  if (!IsValidUtf8(expression)) throw UsageError("la expresión no es UTF-8 válido");
  auto record = LoadLayout(parsed.Get("layout"));

  std::string data = parsed.Get("record");
  if (data == "-") {
    const std::string files[] = {"-"};
    data.clear();
    ForEachLine(files, [&](std::string_view line, const std::string&) {
      data = line;
      return false;
    });
  } else if (!IsValidUtf8(data)) {
    throw UsageError("--record no es UTF-8 válido");
  }
  const Text text = FromUtf8(data);
  if (text.find(kHeaderSeparator) != Text::npos) {
    record->UnSerialize(text);
  } else {
    if (text.size() > static_cast<size_t>(record->Length())) {
      return ReportFailure("el registro tiene " + std::to_string(text.size()) +
                           " caracteres y el layout " + ToUtf8(record->Name()) + " tiene " +
                           std::to_string(record->Length()));
    }
    record->SetData(Variant(text));
  }
  std::shared_ptr<QelProps> formulas;
  if (parsed.Has("formulas")) {
    formulas = std::make_shared<QelProps>();
    formulas->LoadFromFile(FromUtf8(parsed.Get("formulas")));
  }
  const Variant result = record->Eval(FromUtf8(expression), formulas);
  Output out("-");
  out.Write(ToUtf8(CStr(result)));
  out.Write("\n");
  out.Commit();
  return kExitOk;
}

}  // namespace qel::cli

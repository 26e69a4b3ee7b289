// qel demo: a typical transaction with a simulated host; qel classes: the creatable classes.
//
// The demo plays both sides of the host link: the client declares an order layout with a
// repeated list of items, fills the header and fields and serialises the record; a small host
// simulator reads that text with the same layout, prices the items and answers with a reply
// record (reply code, a label, computed fields); the client loads the reply and prints it.
#include <cstdio>
#include <string>

#include "cli.h"
#include "commands.h"
#include "qel/qelstd.h"

namespace {

using qel::Text;
using qel::Variant;

// The link text with its separators and other control characters made visible.
std::string Visible(const Text& link) {
  std::string out;
  for (char16_t c : link) {
    if (c == qel::kLabelSeparator) {
      out += "<FS>";
    } else if (c == qel::kHeaderSeparator) {
      out += "<GS>";
    } else if (c < 32 || (c >= 127 && c < 160)) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "<%02X>", static_cast<unsigned>(c));
      out += buf;
    } else {
      out += qel::ToUtf8(Text(1, c));
    }
  }
  return out;
}

std::shared_ptr<qel::QelRecord> DeclareOrder() {
  auto r = std::make_shared<qel::QelRecord>();
  r->DefLayout(u"PEDIDO");
  r->AddField(u"CLIENTE", qel::qelTypeText, 24);
  r->AddField(u"RUT", qel::qelTypeRut, 10, 1);
  r->AddField(u"FECHA", qel::qelTypeDate, 8);
  r->AddField(u"ITEMS", qel::qelTypeList, 4);
  r->AddField(u"CODIGO", qel::qelTypeAlpha, 6);
  r->AddField(u"CANTIDAD", qel::qelTypeNumeric, 4);
  r->AddField(u"PRECIO", qel::qelTypeNumeric, 9, 2);
  r->AddField(u"SUBTOTAL", qel::qelTypeNumeric, 11, 2);
  r->AddField(u"ITEMS", qel::qelTypeListEnd, 0);
  r->AddField(u"TOTAL", qel::qelTypeNumeric, 12, 2);
  r->AddField(u"SALDO", qel::qelTypeSigned, 12, 2);
  r->AddField(u"MENSAJE", qel::qelTypeText, 40);
  r->EndLayout(true);
  return r;
}

// The host: prices each item from its catalogue, totals the order against the client's credit
// and answers on the same layout.
Text HostAnswer(const Text& layout, const Text& request) {
  struct Article {
    const char16_t* code;
    const char* price;
  };
  static constexpr Article kCatalogue[] = {
      {u"A-100", "1990.50"}, {u"B-220", "15000"}, {u"C-310", "249.90"}};
  const qel::Decimal credit = *qel::Decimal::FromDigits("50000000", -2, false);  // 500.000,00

  qel::QelRecord rec;
  rec.SetLayout(layout);
  rec.UnSerialize(request);
  auto fields = rec.Fields();
  qel::Decimal total;
  for (int32_t i = 1; i <= fields->Item(u"CODIGO")->Occurrences(); ++i) {
    const Text code = qel::CStr(fields->Item(u"CODIGO")->Value(i));
    if (code.empty()) continue;
    qel::Decimal price;
    for (const auto& a : kCatalogue) {
      if (code == a.code) price = *qel::ParseDecimal(qel::FromUtf8(a.price), qel::LocaleInfo{});
    }
    const qel::Decimal subtotal = price * qel::CDec(fields->Item(u"CANTIDAD")->Value(i));
    fields->Item(u"PRECIO")->SetValue(price, i);
    fields->Item(u"SUBTOTAL")->SetValue(subtotal, i);
    total = total + subtotal;
  }
  const qel::Decimal balance = credit - total;
  fields->Item(u"TOTAL")->SetValue(total);
  fields->Item(u"SALDO")->SetValue(balance);
  const bool approved = !balance.negative();
  fields->Item(u"MENSAJE")->SetValue(approved ? u"PEDIDO APROBADO" : u"EXCEDE LINEA DE CREDITO");
  rec.SetOpCode(qel::qelOpcodeReply);
  rec.SetReplyCode(approved ? qel::qelRcodeAck : qel::qelRcodeNack);
  rec.Labels()->SetValue(qel::qelLabelTimestamp, u"20061231235959");
  return rec.Serialize();
}

// Plain fields one per line; each repeated group as a table with one row per occurrence that
// holds anything.
void PrintRecord(const qel::QelRecord& rec) {
  for (const auto& f : *rec.Fields()) {
    if (f->InList() || f->DataType() == qel::qelTypeListEnd) continue;
    if (f->DataType() != qel::qelTypeList) {
      std::printf("  %-10s %s\n", qel::ToUtf8(f->Name()).c_str(), qel::ToUtf8(f->Text()).c_str());
      continue;
    }
    const auto& group = *f->ListFields();
    std::printf("  %-10s", qel::ToUtf8(f->Name()).c_str());
    for (const auto& g : group) std::printf(" %*s", g->MaxTextLength(), qel::ToUtf8(g->Name()).c_str());
    std::printf("\n");
    for (int32_t i = 1; i <= f->Dimensions(); ++i) {
      bool any = false;
      for (const auto& g : group) any = any || !g->IsNull(i);
      if (!any) continue;
      std::printf("  %10d", i);
      for (const auto& g : group) {
        std::printf(" %*s", g->MaxTextLength(), qel::ToUtf8(g->Text(i)).c_str());
      }
      std::printf("\n");
    }
  }
}

int Demo() {
  qel::SetThreadLocale("es_CL.UTF-8");
  std::printf("qelstd: una transacción típica (locale es_CL.UTF-8)\n\n");

  // Client: declare, fill, serialise.
  auto order = DeclareOrder();
  std::printf("Layout %s, %d caracteres, firma %s\n\n", qel::ToUtf8(order->Name()).c_str(),
              order->Length(), qel::ToUtf8(order->Signature()).c_str());
  order->SetOpCode(qel::qelOpcodeHostTransaction);
  order->SetServerCode(u"VT");
  order->SetFormCode(u"01");
  order->Labels()->SetValue(qel::qelLabelUserName, u"operador");
  order->Labels()->SetValue(qel::qelLabelTranName, u"PEDIDO");
  auto f = order->Fields();
  f->Item(u"CLIENTE")->SetValue(u"Comercial Ñuble Ltda.");
  f->Item(u"RUT")->SetValue(u"12.345.678-5");
  f->Item(u"FECHA")->SetValue(u"15-03-2006");
  const char16_t* codes[] = {u"A-100", u"B-220", u"C-310"};
  const int32_t quantities[] = {12, 30, 100};
  for (int32_t i = 0; i < 3; ++i) {
    f->Item(u"CODIGO")->SetValue(codes[i], i + 1);
    f->Item(u"CANTIDAD")->SetValue(quantities[i], i + 1);
  }
  const Text request = order->Serialize();
  std::printf("Solicitud (%zu caracteres):\n  %s\n\n", request.size(), Visible(request).c_str());

  // Host.
  const Text reply = HostAnswer(order->Layout(), request);
  std::printf("Respuesta del host (%zu caracteres):\n  %s\n\n", reply.size(),
              Visible(reply).c_str());

  // Client: load the reply.
  order->UnSerialize(reply);
  std::printf("Código de respuesta: %d (%s), sello de tiempo: %s\n\n", order->ReplyCode(),
              order->ReplyCode() == qel::qelRcodeAck ? "aceptado" : "rechazado",
              qel::ToUtf8(order->Labels()->Value(qel::qelLabelTimestamp)).c_str());
  PrintRecord(*order);

  const char16_t* condition = u"TOTAL > 0 AND SALDO >= 0 AND $Trim(MENSAJE) <> ''";
  std::printf("\nEval(\"%s\") = %s\n", qel::ToUtf8(condition).c_str(),
              qel::ToUtf8(qel::CStr(order->Eval(condition))).c_str());
  try {
    order->Eval(u"TOTAL > 0 AND");
  } catch (const qel::Error& e) {
    std::string text = e.what();
    for (size_t p; (p = text.find("\r\n")) != std::string::npos;) text.replace(p, 2, " / ");
    std::printf("Eval(\"TOTAL > 0 AND\") falla: %d %s\n  %s\n", e.Number(),
                qel::ToUtf8(e.Source()).c_str(), text.c_str());
  }
  return 0;
}

}  // namespace

namespace qel::cli {

int RunDemo(std::span<char* const> args) {
  if (WantsHelp(args)) {
    std::printf("Uso: qel demo\n\nUna transacción típica: el cliente declara un pedido, lo "
                "serializa, un host simulado\nlo valoriza y responde, y el cliente carga la "
                "respuesta.\n");
    return kExitOk;
  }
  if (!args.empty()) throw UsageError("demo no recibe argumentos");
  return Demo();
}

int RunClasses(std::span<char* const> args) {
  if (WantsHelp(args)) {
    std::printf("Uso: qel classes\n\nLista las clases que la biblioteca puede crear por "
                "nombre.\n");
    return kExitOk;
  }
  if (!args.empty()) throw UsageError("classes no recibe argumentos");
  for (const auto& c : qel::CreatableClasses()) std::printf("%s\n", qel::ToUtf8(c).c_str());
  return kExitOk;
}

}  // namespace qel::cli

// A transaction from the client's side: declare a layout, fill a record, serialise it for the
// host, and load the host's reply through the same layout. Host() stands in for the host: it
// reads the request with the layout's signature text and answers on the same layout.
#include <cstdio>

#include "qel/qelstd.h"

namespace {

// The host approves a payment when the balance after it stays positive.
qel::Text Host(const qel::Text& layout, const qel::Text& request) {
  qel::QelRecord rec;
  rec.SetLayout(layout);  // the signature's digest proves both sides share the fields
  rec.UnSerialize(request);
  auto fields = rec.Fields();
  const qel::Decimal balance =
      qel::CDec(qel::Variant(u"200000")) - qel::CDec(fields->Item(u"MONTO")->Value());
  fields->Item(u"SALDO")->SetValue(balance);
  fields->Item(u"ESTADO")->SetValue(balance.negative() ? u"RECHAZADO" : u"APROBADO");
  rec.SetOpCode(qel::qelOpcodeReply);
  rec.SetReplyCode(balance.negative() ? qel::qelRcodeNack : qel::qelRcodeAck);
  return rec.Serialize();
}

}  // namespace

int main() {
  qel::SetThreadLocale("es_CL.UTF-8");  // "," for decimals, "." for thousands
  try {
    // Declare the layout; EndLayout(true) applies it and returns its signature text.
    qel::QelRecord pago;
    pago.DefLayout(u"PAGO");
    pago.AddField(u"CLIENTE", qel::qelTypeText, 30);
    pago.AddField(u"RUT", qel::qelTypeRut, 10, 1);
    pago.AddField(u"MONTO", qel::qelTypeNumeric, 12, 2);
    pago.AddField(u"SALDO", qel::qelTypeSigned, 12, 2);
    pago.AddField(u"ESTADO", qel::qelTypeText, 12);
    pago.EndLayout(true);

    // Fill the header and the fields, and serialise.
    pago.SetOpCode(qel::qelOpcodeHostTransaction);
    pago.SetServerCode(u"PG");
    auto fields = pago.Fields();
    fields->Item(u"CLIENTE")->SetValue(u"Comercial Ñuble Ltda.");
    fields->Item(u"RUT")->SetValue(u"12.345.678-5");
    fields->Item(u"MONTO")->SetValue(u"150.000,50");
    const qel::Text request = pago.Serialize();

    // Load the reply into the same record and read it.
    pago.UnSerialize(Host(pago.Layout(), request));
    std::printf("respuesta %d: %s, saldo %s\n", pago.ReplyCode(),
                qel::ToUtf8(fields->Item(u"ESTADO")->Text()).c_str(),
                qel::ToUtf8(fields->Item(u"SALDO")->Text()).c_str());
  } catch (const qel::Error& e) {
    std::printf("error %d (%s): %s\n", e.Number(), qel::ToUtf8(e.Source()).c_str(), e.what());
    return 1;
  }
  return 0;
}

#!/usr/bin/env python3
"""A transaction from the client's side: declare a layout, fill a record, serialise it for
the host, and load the host's reply through the same layout. host() stands in for the host:
it reads the request with the layout's signature text and answers on the same layout."""
import decimal
import sys

import qelstd


def host(layout, request):
    """The host approves a payment when the balance after it stays positive."""
    rec = qelstd.QelRecord()
    rec.Layout = layout  # the signature's digest proves both sides share the fields
    rec.UnSerialize(request)
    balance = decimal.Decimal("200000") - rec["MONTO"].Value()
    rec["SALDO"].SetValue(balance)
    rec["ESTADO"].SetValue("RECHAZADO" if balance < 0 else "APROBADO")
    rec.OpCode = qelstd.qelOpcodeReply
    rec.ReplyCode = qelstd.qelRcodeNack if balance < 0 else qelstd.qelRcodeAck
    return rec.Serialize()


def main():
    qelstd.SetThreadLocale("es_CL.UTF-8")  # "," for decimals, "." for thousands
    try:
        # Declare the layout; EndLayout(True) applies it and returns its signature text.
        pago = qelstd.QelRecord()
        pago.DefLayout("PAGO")
        pago.AddField("CLIENTE", qelstd.qelTypeText, 30)
        pago.AddField("RUT", qelstd.qelTypeRut, 10, 1)
        pago.AddField("MONTO", qelstd.qelTypeNumeric, 12, 2)
        pago.AddField("SALDO", qelstd.qelTypeSigned, 12, 2)
        pago.AddField("ESTADO", qelstd.qelTypeText, 12)
        pago.EndLayout(True)

        # Fill the header and the fields, and serialise.
        pago.OpCode = qelstd.qelOpcodeHostTransaction
        pago.ServerCode = "PG"
        pago["CLIENTE"].SetValue("Comercial Ñuble Ltda.")
        pago["RUT"].SetValue("12.345.678-5")
        pago["MONTO"].SetValue(decimal.Decimal("150000.50"))
        request = pago.Serialize()

        # Load the reply into the same record and read it.
        pago.UnSerialize(host(pago.Layout, request))
        print(f"respuesta {pago.ReplyCode}: {pago['ESTADO'].Text()}, "
              f"saldo {pago['SALDO'].Text()}")
    except qelstd.QelError as e:
        print(f"error {e.Number} ({e.Source}): {e.Description}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())

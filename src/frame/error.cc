#include "qel/frame/error.h"

#include <utility>
#include <vector>

#include "qel/frame/template.h"

namespace qel {

Error::Error(int32_t number, Text source, Text description)
    : number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      what_(ToUtf8(description_)) {}

Text RuntimeErrorText(int32_t number) {
  switch (number) {
    case kErrInvalidCall:
      return u"Argumento o llamada a procedimiento no válida";
    case kErrOverflow:
      return u"Desbordamiento";
    case kErrSubscript:
      return u"El subíndice está fuera del intervalo";
    case kErrDivisionByZero:
      return u"División por cero";
    case kErrTypeMismatch:
      return u"No coinciden los tipos";
    case kErrOutOfStack:
      return u"Espacio de pila insuficiente";
    case kErrObjectNotSet:
      return u"Variable de objeto o bloque With no establecido";
    case kErrInvalidNull:
      return u"Uso no válido de Null";
    case kErrObjectRequired:
      return u"Se requiere un objeto";
    case kErrCannotCreate:
      return u"El componente ActiveX no puede crear el objeto";
    case kErrNoSuchMember:
      return u"El objeto no acepta esta propiedad o método";
    case kErrDuplicateKey:
      return u"Esta clave ya está asociada a un elemento de esta colección";
    default:
      return u"Error definido por la aplicación o el objeto";
  }
}

namespace {

// The context arguments followed by the inner description.
Text WithInner(TextView tmpl, Args context, const Error& inner) {
  std::vector<Variant> args(context.begin(), context.end());
  args.emplace_back(inner.Description());
  return FormatTemplate(tmpl, args);
}

Text Concat(TextView a, TextView b) {
  Text out;
  out.reserve(a.size() + b.size());
  out.append(a);
  out.append(b);
  return out;
}

}  // namespace

void RaiseError(int32_t number, TextView source, TextView tmpl, Args args) {
  throw Error(number, Text(source), FormatTemplate(tmpl, args));
}

void RaiseRuntime(int32_t number) {
  throw Error(number, kPlatformSource, RuntimeErrorText(number));
}

void RaiseReplacing(const Error& inner, TextView source, TextView tmpl, Args context) {
  throw Error(inner.Number(), Text(source), WithInner(tmpl, context, inner));
}

void RaiseChained(const Error& inner, TextView prefix) {
  throw Error(inner.Number(), Concat(prefix, inner.Source()), inner.Description());
}

void RaiseChained(const Error& inner, TextView prefix, TextView tmpl, Args context) {
  throw Error(inner.Number(), Concat(prefix, inner.Source()), WithInner(tmpl, context, inner));
}

}  // namespace qel

#include "inet/inet_error.h"

#include <curl/curl.h>

#include "qel/frame/error.h"

namespace qel::internal {
namespace {

struct CodeText {
  int32_t code;
  const char16_t* text;
};

constexpr CodeText kTexts[] = {
    {kErrorNotEnoughMemory, u"No hay suficiente memoria para completar la operación"},
    {kErrorInsufficientBuffer, u"El área de datos pasada a una llamada del sistema es "
                               u"demasiado pequeña"},
    {kInetOutOfHandles, u"No se pueden crear más identificadores de Internet"},
    {kInetTimeout, u"Se agotó el tiempo de espera de la operación"},
    {kInetExtendedError, u"El servidor devolvió información de error extendida"},
    {kInetInternalError, u"Se produjo un error interno en la conexión a Internet"},
    {kInetInvalidUrl, u"La dirección URL no es válida"},
    {kInetUnrecognizedScheme, u"No se reconoce el protocolo de la dirección URL"},
    {kInetNameNotResolved, u"No se pudo resolver el nombre del servidor"},
    {kInetOperationCancelled, u"Se canceló la operación"},
    {kInetCannotConnect, u"No se pudo establecer una conexión con el servidor"},
    {kInetConnectionAborted, u"Se interrumpió la conexión con el servidor"},
    {kInetConnectionReset, u"Se restableció la conexión con el servidor"},
    {kInetCertDateInvalid, u"El certificado del servidor ha caducado o aún no es válido"},
    {kInetCertCnInvalid, u"El nombre del certificado del servidor no coincide con el del "
                         u"servidor"},
    {kInetClientAuthCertNeeded, u"El servidor requiere un certificado de cliente"},
    {kInetInvalidCa, u"El certificado del servidor no es de una entidad de certificación "
                     u"de confianza"},
    {kInetInvalidServerResponse, u"El servidor devolvió una respuesta no válida o no "
                                 u"reconocida"},
    {kInetRedirectFailed, u"No se pudo seguir la redirección del servidor"},
    {kInetSecureChannelError, u"Se produjo un error en el canal seguro con el servidor"},
    {kInetDecodingFailed, u"No se pudo descomprimir el contenido recibido"},
};

// OpenSSL's verification results that have an internet code of their own.
constexpr long kX509CertNotYetValid = 9;
constexpr long kX509CertHasExpired = 10;
constexpr long kX509HostnameMismatch = 62;

}  // namespace

TextView InetErrorText(int32_t code) {
  for (const auto& t : kTexts) {
    if (t.code == code) return t.text;
  }
  return {};
}

int32_t InetCodeOfCurl(int curl_code, long verify_result) {
  switch (static_cast<CURLcode>(curl_code)) {
    case CURLE_OK:
      return 0;
    case CURLE_UNSUPPORTED_PROTOCOL:
      return kInetUnrecognizedScheme;
    case CURLE_URL_MALFORMAT:
      return kInetInvalidUrl;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
      return kInetNameNotResolved;
    case CURLE_COULDNT_CONNECT:
      return kInetCannotConnect;
    case CURLE_OPERATION_TIMEDOUT:
      return kInetTimeout;
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
      return kInetConnectionAborted;
    case CURLE_GOT_NOTHING:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
      return kInetInvalidServerResponse;
    case CURLE_TOO_MANY_REDIRECTS:
      return kInetRedirectFailed;
    case CURLE_OUT_OF_MEMORY:
      return kErrorNotEnoughMemory;
    case CURLE_ABORTED_BY_CALLBACK:
      return kInetOperationCancelled;
    case CURLE_BAD_CONTENT_ENCODING:
      return kInetDecodingFailed;
    case CURLE_SSL_CERTPROBLEM:
      return kInetClientAuthCertNeeded;
    case CURLE_PEER_FAILED_VERIFICATION:
      if (verify_result == kX509CertHasExpired || verify_result == kX509CertNotYetValid) {
        return kInetCertDateInvalid;
      }
      if (verify_result == kX509HostnameMismatch) return kInetCertCnInvalid;
      return kInetInvalidCa;
    case CURLE_SSL_CACERT_BADFILE:
      return kInetInvalidCa;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_CLIENTCERT:
      return kInetSecureChannelError;
    default:
      return kInetInternalError;
  }
}

void RaiseInetError(TextView function_name, int32_t code) {
  const TextView text = InetErrorText(code);
  const int32_t number = code == 0 ? E_FAIL : code;
  if (!text.empty()) RaiseError(number, function_name, text);
  // The code goes into the template as text, so that %1 and %2 reach it unchanged.
  constexpr char16_t kHex[] = u"0123456789ABCDEF";
  Text hex;
  auto value = static_cast<uint32_t>(code);
  do {
    hex.insert(hex.begin(), kHex[value & 0xF]);
    value >>= 4;
  } while (value != 0);
  RaiseError(number, function_name, u"La función '%1' retornó error desconocido %2",
             {Variant(Text(function_name)), Variant(hex)});
}

}  // namespace qel::internal

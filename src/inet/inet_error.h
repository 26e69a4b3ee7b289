// The internet error codes the library produces, their Spanish texts, and the one routine
// that raises them (RaiseInetError). Codes keep the platform's numbers so that callers can
// test for them; libcurl's results are mapped onto them by InetCodeOfCurl.
#ifndef QEL_SRC_INET_INET_ERROR_H_
#define QEL_SRC_INET_INET_ERROR_H_

#include <cstdint>

#include "qel/frame/text.h"

namespace qel::internal {

inline constexpr int32_t kErrorNotEnoughMemory = 8;
inline constexpr int32_t kErrorInsufficientBuffer = 122;
inline constexpr int32_t kInetOutOfHandles = 12001;
inline constexpr int32_t kInetTimeout = 12002;
inline constexpr int32_t kInetExtendedError = 12003;
inline constexpr int32_t kInetInternalError = 12004;
inline constexpr int32_t kInetInvalidUrl = 12005;
inline constexpr int32_t kInetUnrecognizedScheme = 12006;
inline constexpr int32_t kInetNameNotResolved = 12007;
inline constexpr int32_t kInetOperationCancelled = 12017;
inline constexpr int32_t kInetCannotConnect = 12029;
inline constexpr int32_t kInetConnectionAborted = 12030;
inline constexpr int32_t kInetConnectionReset = 12031;
inline constexpr int32_t kInetCertDateInvalid = 12037;
inline constexpr int32_t kInetCertCnInvalid = 12038;
inline constexpr int32_t kInetClientAuthCertNeeded = 12044;
inline constexpr int32_t kInetInvalidCa = 12045;
inline constexpr int32_t kInetInvalidServerResponse = 12152;
inline constexpr int32_t kInetRedirectFailed = 12156;
inline constexpr int32_t kInetSecureChannelError = 12157;
inline constexpr int32_t kInetDecodingFailed = 12175;

// The Spanish text of an internet error code, or empty for a code the library does not know.
TextView InetErrorText(int32_t code);

// The internet code for a libcurl result (a CURLcode) of a transfer; `verify_result` is the
// peer verification result libcurl reported (an X509_V_ERR_* number, 0 when none).
int32_t InetCodeOfCurl(int curl_code, long verify_result);

// Raises `code` with source `function_name` and the code's text, or the template "La función
// '%1' retornó error desconocido %2" (the code in upper-case hexadecimal) for a code without
// one. A code of 0 is raised as E_FAIL.
[[noreturn]] void RaiseInetError(TextView function_name, int32_t code);

}  // namespace qel::internal

#endif  // QEL_SRC_INET_INET_ERROR_H_

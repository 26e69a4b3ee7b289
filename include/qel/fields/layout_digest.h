// LayoutDigest: the digest that proves two programs share a layout's field definitions.
//
// MD5 (OpenSSL's libcrypto) over the Windows-1252 bytes of, in this order and with nothing
// between them: "SD:1.0:" + the layout name, each descriptor line (without line breaks), and
// "CS:" + the total length in decimal + ":" + the layout name. The result is 32 upper-case
// hexadecimal digits, so it never holds ":" or a line break. The time stamp of a signature's
// header line is deliberately left out: two signatures of the same fields made at different
// times share their digest.
//
// Pure and thread-safe.
#ifndef QEL_FIELDS_LAYOUT_DIGEST_H_
#define QEL_FIELDS_LAYOUT_DIGEST_H_

#include <cstdint>
#include <span>

#include "qel/frame/export.h"
#include "qel/frame/text.h"

namespace qel {

QEL_EXPORT Text LayoutDigest(TextView layout_name, std::span<const TextView> descriptors,
                             int32_t total);

}  // namespace qel

#endif  // QEL_FIELDS_LAYOUT_DIGEST_H_

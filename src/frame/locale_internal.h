// Library-internal readings of the per-thread locale (see qel/frame/locale.h).
#ifndef QEL_SRC_FRAME_LOCALE_INTERNAL_H_
#define QEL_SRC_FRAME_LOCALE_INTERNAL_H_

#include <cstdint>

#include "qel/frame/text.h"

namespace qel::internal {

// A number that changes whenever the calling thread's locale is read anew: at its first use
// and at every SetThreadLocale, even to the same name. Holders of values read from the locale
// compare it to know whether to read them again.
uint64_t ThreadLocaleSerial();

// -1, 0 or 1: `a` against `b` without regard to case, in the order of the thread locale's
// collation (LC_COLLATE of the locale's name; the code-point order under "C"). Both texts are
// folded with UpperChar first; texts the collation holds equal are ordered by their folded
// code units, so that only texts equal without regard to case compare 0.
int CollateNoCase(TextView a, TextView b);

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_LOCALE_INTERNAL_H_

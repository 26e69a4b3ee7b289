// COBOL copybook record descriptions turned into layout signatures.
//
// Read: one record description (one 01 level with its items, levels 02-49; 88 condition names
// are skipped), fixed-form source (sequence area in columns 1-6, indicator in column 7,
// "*" or "/" there for comments, code in columns 8-72) or free-form (comments from "*>").
// Mapped:
//   PIC X(n)             -> text X:n            PIC A(n)     -> alpha A:n
//   PIC 9(n)V9(m)        -> numeric N:n+m.m     PIC S9(n)... -> signed S:n+m.m
//   a group with OCCURS n TIMES -> list LB..LE of n occurrences; other groups are flattened
//   FILLER               -> a text field named FILLER_1, FILLER_2, ...
//   a name listed in the map as D or R -> a date or a RUT of the picture's length
// Refused, with the line: REDEFINES, RENAMES (66), COMP/BINARY/PACKED usages (the host link is
// text), edited or scaled pictures, SIGN SEPARATE, OCCURS DEPENDING, OCCURS on an elementary
// item, and OCCURS inside OCCURS (lists do not nest).
//
// Size limits: the copybook is read whole, in one pass; a picture's repeat count up to
// kMaxRecordLength, and the record as a whole held to the library's limits by EndLayout.
#ifndef QEL_TOOLS_QEL_COPYBOOK_H_
#define QEL_TOOLS_QEL_COPYBOOK_H_

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qel/frame/error.h"
#include "qel/frame/text.h"

namespace qel::cli {

struct CopybookOptions {
  std::string name;                                  // the layout's name; empty: the 01 item's
  std::vector<std::pair<std::string, int32_t>> map;  // item name -> qelTypeDate or qelTypeRut
};

// A library error met while declaring the field of a copybook line.
struct CopybookFieldError {
  std::string where;  // "file:line"
  qel::Error error;
};

// The signature text of the copybook's record. Throws std::runtime_error naming "file:line"
// for what it cannot read or refuses, CopybookFieldError for a field the library refuses.
Text ImportCopybook(std::string_view text, const std::string& file, const CopybookOptions& options);

}  // namespace qel::cli

#endif  // QEL_TOOLS_QEL_COPYBOOK_H_

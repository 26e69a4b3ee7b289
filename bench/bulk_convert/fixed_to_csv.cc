// The baseline of the bulk conversion benchmark: the records of cliente.cpy converted from
// fixed width to CSV by a program written for that one layout, with the field offsets fixed
// at compile time and numbers written with std::to_chars. It writes what qel record convert
// writes (texts without trailing blanks in UTF-8, numbers as "-1234.5", dates as YYYY-MM-DD,
// RUTs dashed) but checks nothing: no RUT check digits, no dates, no quoting of texts.
//
// With --copy it converts nothing: each field's bytes, trailing blanks cut, are copied between
// the commas. That is the floor of any converter of these files on the machine: reading the
// input, cutting it into fields and writing the output.
//
//   fixed_to_csv [--copy] IN OUT
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

enum Kind { kText, kNumber, kDate, kRut };

struct Field {
  const char* name;
  int offset;
  int length;
  Kind kind;
  int decimals;
};

// cliente.cpy, in record order; the list's ten occurrences follow at kItemsOffset.
constexpr Field kFields[] = {
    {"CLI_NOMBRE", 0, 30, kText, 0},      {"CLI_DIRECCION", 30, 30, kText, 0},
    {"CLI_COMUNA", 60, 20, kText, 0},     {"CLI_CIUDAD", 80, 20, kText, 0},
    {"CLI_GIRO", 100, 20, kText, 0},      {"CLI_EMAIL", 120, 25, kText, 0},
    {"CLI_FONO", 145, 12, kText, 0},      {"CLI_CONTACTO", 157, 25, kText, 0},
    {"CLI_OBS", 182, 20, kText, 0},       {"CLI_VENDEDOR", 202, 15, kText, 0},
    {"CLI_SUCURSAL", 217, 10, kText, 0},  {"CLI_CANAL", 227, 10, kText, 0},
    {"CLI_CODIGO", 237, 6, kText, 0},     {"CLI_CLASE", 243, 2, kText, 0},
    {"CLI_ZONA", 245, 4, kText, 0},       {"CLI_ESTADO", 249, 1, kText, 0},
    {"CLI_NUMERO", 250, 8, kNumber, 0},   {"CLI_LINEA", 258, 3, kNumber, 0},
    {"CLI_CUPO", 261, 13, kNumber, 2},    {"CLI_USADO", 274, 13, kNumber, 2},
    {"CLI_DISPONIBLE", 287, 13, kNumber, 2}, {"CLI_TASA", 300, 7, kNumber, 4},
    {"CLI_PLAZO", 307, 3, kNumber, 0},    {"CLI_CUOTAS", 310, 2, kNumber, 0},
    {"CLI_MONTO", 312, 11, kNumber, 2},   {"CLI_PAGADO", 323, 11, kNumber, 2},
    {"CLI_SALDO", 334, 13, kNumber, 2},   {"CLI_MORA", 347, 9, kNumber, 2},
    {"CLI_AJUSTE", 356, 7, kNumber, 2},   {"CLI_DIFERENCIA", 363, 11, kNumber, 2},
    {"CLI_INTERES", 374, 11, kNumber, 4}, {"CLI_ALTA", 385, 8, kDate, 0},
    {"CLI_ULTIMA", 393, 8, kDate, 0},     {"CLI_VENCE", 401, 8, kDate, 0},
    {"CLI_RUT", 409, 10, kRut, 0},        {"CLI_RUT_REP", 419, 10, kRut, 0},
};
constexpr int kItemsOffset = 429;
constexpr int kItemLength = 23;
constexpr int kItems = 10;
constexpr Field kItemFields[] = {
    {"ITM_ART", 0, 6, kText, 0},
    {"ITM_CANT", 6, 4, kNumber, 0},
    {"ITM_PRECIO", 10, 9, kNumber, 2},
    {"ITM_DESC", 19, 4, kNumber, 1},
};
constexpr size_t kRecordLength = kItemsOffset + kItems * kItemLength;  // 659

// Windows-1252 0x80..0x9F; the bytes above are Latin-1.
constexpr char16_t kHigh[32] = {0x20AC, 0x81, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

void Text(const char* p, int n, std::string& out) {
  while (n > 0 && p[n - 1] == ' ') --n;
  for (int i = 0; i < n; ++i) {
    const auto b = static_cast<unsigned char>(p[i]);
    if (b < 0x80) {
      out.push_back(static_cast<char>(b));
      continue;
    }
    const unsigned c = b < 0xA0 ? kHigh[b - 0x80] : b;
    if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    } else {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    }
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

void Number(const char* p, int n, int decimals, std::string& out) {
  uint64_t v = 0;
  bool negative = false;
  for (int i = 0; i < n; ++i) {
    char c = p[i];
    if (i == n - 1) {
      if (c == '}') { c = '0'; negative = true; }
      else if (c >= 'J' && c <= 'R') { c = static_cast<char>(c - 'J' + '1'); negative = true; }
      else if (c == '{') { c = '0'; }
      else if (c >= 'A' && c <= 'I') { c = static_cast<char>(c - 'A' + '1'); }
    }
    v = v * 10 + static_cast<uint64_t>(c == ' ' ? 0 : c - '0');
  }
  uint64_t scale = 1;
  for (int i = 0; i < decimals; ++i) scale *= 10;
  uint64_t whole = v / scale, fraction = v % scale;
  int digits = decimals;
  while (digits > 0 && fraction % 10 == 0) {
    fraction /= 10;
    --digits;
  }
  char buf[48];
  char* w = buf;
  if (negative && v != 0) *w++ = '-';
  w = std::to_chars(w, buf + sizeof buf, whole).ptr;
  if (digits > 0) {
    *w++ = '.';
    char frac[24];
    char* e = std::to_chars(frac, frac + sizeof frac, fraction).ptr;
    for (int k = static_cast<int>(e - frac); k < digits; ++k) *w++ = '0';
    std::memcpy(w, frac, static_cast<size_t>(e - frac));
    w += e - frac;
  }
  out.append(buf, static_cast<size_t>(w - buf));
}

void Date(const char* p, std::string& out) {
  const char d[10] = {p[0], p[1], p[2], p[3], '-', p[4], p[5], '-', p[6], p[7]};
  out.append(d, 10);
}

void Rut(const char* p, int n, std::string& out) {
  int first = 0;
  while (first < n - 2 && p[first] == '0') ++first;
  out.append(p + first, static_cast<size_t>(n - 1 - first));
  out.push_back('-');
  out.push_back(p[n - 1]);
}

bool copy_only = false;

void Copy(const char* p, int n, std::string& out) {
  while (n > 0 && p[n - 1] == ' ') --n;
  out.append(p, static_cast<size_t>(n));
}

void Put(const Field& f, const char* record, std::string& out) {
  const char* p = record + f.offset;
  if (copy_only) return Copy(p, f.length, out);
  switch (f.kind) {
    case kText: Text(p, f.length, out); break;
    case kNumber: Number(p, f.length, f.decimals, out); break;
    case kDate: Date(p, out); break;
    case kRut: Rut(p, f.length, out); break;
  }
}

}  // namespace

int main(int argc, char** argv) {
  copy_only = argc == 4 && std::strcmp(argv[1], "--copy") == 0;
  if (argc != 3 + copy_only) {
    std::fprintf(stderr, "uso: fixed_to_csv [--copy] ENTRADA SALIDA\n");
    return 2;
  }
  argv += copy_only;
  std::FILE* in = std::fopen(argv[1], "rb");
  std::FILE* out = std::fopen(argv[2], "wb");
  if (in == nullptr || out == nullptr) {
    std::perror("fixed_to_csv");
    return 1;
  }
  std::string csv;
  for (const Field& f : kFields) csv += std::string(csv.empty() ? "" : ",") + f.name;
  for (int i = 1; i <= kItems; ++i) {
    for (const Field& f : kItemFields) csv += std::string(",") + f.name + "_" + std::to_string(i);
  }
  csv.push_back('\n');
  std::vector<char> block(1 << 20);
  size_t kept = 0;
  for (;;) {
    const size_t got = std::fread(block.data() + kept, 1, block.size() - kept, in);
    const size_t end = kept + got;
    size_t at = 0;
    while (end - at >= kRecordLength + 1) {
      const char* record = block.data() + at;
      bool first = true;
      for (const Field& f : kFields) {
        if (!first) csv.push_back(',');
        first = false;
        Put(f, record, csv);
      }
      for (int i = 0; i < kItems; ++i) {
        for (const Field& f : kItemFields) {
          csv.push_back(',');
          Put(f, record + kItemsOffset + i * kItemLength, csv);
        }
      }
      csv.push_back('\n');
      at += kRecordLength + 1;  // the record and its line end
      if (csv.size() >= (1 << 16)) {
        std::fwrite(csv.data(), 1, csv.size(), out);
        csv.clear();
      }
    }
    std::memmove(block.data(), block.data() + at, end - at);
    kept = end - at;
    if (got == 0) break;
  }
  std::fwrite(csv.data(), 1, csv.size(), out);
  return std::fclose(out) == 0 ? 0 : 1;
}

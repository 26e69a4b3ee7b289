// Locale conventions from the C library's locale database, per thread.
//
// The C library's conventions are taken as they are with one exception: the date separator of
// es_CL. The desktop clients of the host write Chilean dates as "15-03-2006", while glibc's
// es_CL writes "15/03/06"; the host's convention wins, since dates typed and printed by users
// of those clients follow it.
#include "qel/frame/locale.h"

#include "frame/locale_internal.h"

#include <langinfo.h>
#include <locale.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "qel/frame/error.h"

namespace qel {
namespace {

struct DateSeparatorOverride {
  const char* prefix;  // language_TERRITORY
  char16_t separator;
};
constexpr DateSeparatorOverride kDateSeparators[] = {{"es_CL", u'-'}};

// The first character of a langinfo string, or `fallback` when it is empty.
char16_t FirstChar(const char* s, char16_t fallback) {
  if (s == nullptr || *s == 0) return fallback;
  Text t = FromUtf8(s);
  return t.empty() ? fallback : t[0];
}

void ReadDateFormat(const char* fmt, LocaleInfo* info) {
  // Positions of the day, month and year conversions in the short-date pattern.
  int day = -1, month = -1, year = -1, pos = 0;
  char16_t sep = 0;
  for (const char* p = fmt; p && *p; ++p) {
    if (*p != '%') {
      if (sep == 0 && pos > 0) sep = static_cast<unsigned char>(*p);
      continue;
    }
    ++p;
    while (*p == 'E' || *p == 'O' || *p == '-' || *p == '_' || *p == '0') ++p;
    switch (*p) {
      case 'd':
      case 'e':
        day = pos++;
        break;
      case 'm':
      case 'b':
      case 'B':
      case 'h':
        month = pos++;
        break;
      case 'y':
      case 'Y':
        year = pos++;
        break;
      case 'D':  // %m/%d/%y
        month = pos++, day = pos++, year = pos++, sep = u'/';
        break;
      case 'F':  // %Y-%m-%d
        year = pos++, month = pos++, day = pos++, sep = u'-';
        break;
      case 0:
        --p;
        break;
      default:
        break;
    }
  }
  if (year == 0) {
    info->date_order = DateOrder::kYearMonthDay;
  } else if (day >= 0 && month >= 0 && day < month) {
    info->date_order = DateOrder::kDayMonthYear;
  } else {
    info->date_order = DateOrder::kMonthDayYear;
  }
  if (sep != 0) info->date_sep = sep;
}

// Name of the locale the environment selects for one category.
std::string EnvLocaleName(const char* category_var) {
  for (const char* var : {"LC_ALL", category_var, "LANG"}) {
    const char* v = std::getenv(var);
    if (v != nullptr && *v != 0) return v;
  }
  return "C";
}

void ReadNumeric(locale_t loc, LocaleInfo* info) {
  info->decimal = FirstChar(nl_langinfo_l(RADIXCHAR, loc), u'.');
  info->thousand = FirstChar(nl_langinfo_l(THOUSEP, loc), info->decimal == u',' ? u'.' : u',');
}

void ReadTime(locale_t loc, std::string_view name, LocaleInfo* info) {
  ReadDateFormat(nl_langinfo_l(D_FMT, loc), info);
  const char* tfmt = nl_langinfo_l(T_FMT, loc);
  info->time_12h = tfmt != nullptr && (std::strstr(tfmt, "%r") || std::strstr(tfmt, "%I") ||
                                       std::strstr(tfmt, "%p"));
  const char* am = nl_langinfo_l(AM_STR, loc);
  const char* pm = nl_langinfo_l(PM_STR, loc);
  if (am && *am) info->am = FromUtf8(am);
  if (pm && *pm) info->pm = FromUtf8(pm);
  for (const auto& o : kDateSeparators) {
    if (name.substr(0, std::strlen(o.prefix)) == o.prefix) info->date_sep = o.separator;
  }
}

class LocaleHandle {
 public:
  explicit LocaleHandle(const std::string& name)
      : loc_(newlocale(LC_ALL_MASK, name.c_str(), static_cast<locale_t>(0))) {}
  ~LocaleHandle() {
    if (loc_) freelocale(loc_);
  }
  LocaleHandle(const LocaleHandle&) = delete;
  LocaleHandle& operator=(const LocaleHandle&) = delete;
  locale_t get() const { return loc_; }

 private:
  locale_t loc_;
};

LocaleInfo FromEnvironment() {
  LocaleInfo info;
  const std::string numeric = EnvLocaleName("LC_NUMERIC");
  const std::string time = EnvLocaleName("LC_TIME");
  info.name = numeric;
  LocaleHandle n(numeric);
  if (n.get()) {
    ReadNumeric(n.get(), &info);
  } else {
    info.name = "C";
  }
  LocaleHandle t(time);
  if (t.get()) ReadTime(t.get(), time, &info);
  return info;
}

thread_local std::optional<LocaleInfo> t_locale;
thread_local uint64_t t_locale_serial = 0;

// The collation of the thread's locale, opened for the name it was last asked for.
class Collation {
 public:
  ~Collation() {
    if (loc_) freelocale(loc_);
  }
  // Null when the C library has no such locale (then code points decide).
  locale_t For(const std::string& name) {
    if (name != name_) {
      if (loc_) freelocale(loc_);
      loc_ = newlocale(LC_COLLATE_MASK, name.c_str(), static_cast<locale_t>(0));
      name_ = name;
    }
    return loc_;
  }

 private:
  std::string name_;
  locale_t loc_ = static_cast<locale_t>(0);
};

// A text folded with UpperChar into `folded`.
void Fold(TextView text, Text* folded) {
  folded->resize(text.size());
  for (size_t i = 0; i < text.size(); ++i) (*folded)[i] = UpperChar(text[i]);
}

// A folded text as UTF-8 for strcoll_l; U+0000, which would end the C string, is left out
// (texts that differ only there are told apart by the code-unit tie-break).
std::string CollationKey(const Text& folded) {
  std::string out = ToUtf8(folded);
  std::erase(out, '\0');
  return out;
}

}  // namespace

namespace internal {

uint64_t ThreadLocaleSerial() {
  ThreadLocale();
  return t_locale_serial;
}

int CollateNoCase(TextView a, TextView b) {
  // The empty text sorts first and texts equal once folded are equal under every collation
  // (the tie-break below makes it so); neither needs the collation.
  if (a.empty() || b.empty()) return a.empty() ? (b.empty() ? 0 : -1) : 1;
  thread_local Text t_fa, t_fb;
  Fold(a, &t_fa);
  Fold(b, &t_fb);
  const Text& fa = t_fa;
  const Text& fb = t_fb;
  if (fa == fb) return 0;
  thread_local Collation t_collation;
  const std::string ua = CollationKey(fa), ub = CollationKey(fb);
  const locale_t loc = t_collation.For(ThreadLocale().name);
  int c = loc ? strcoll_l(ua.c_str(), ub.c_str(), loc) : std::strcmp(ua.c_str(), ub.c_str());
  if (c == 0) c = fa.compare(fb);
  return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

}  // namespace internal

std::optional<LocaleInfo> LookupLocale(std::string_view name) {
  const std::string n(name);
  LocaleHandle h(n);
  if (!h.get()) return std::nullopt;
  LocaleInfo info;
  info.name = n;
  ReadNumeric(h.get(), &info);
  ReadTime(h.get(), n, &info);
  return info;
}

const LocaleInfo& ThreadLocale() {
  if (!t_locale) {
    t_locale = FromEnvironment();
    ++t_locale_serial;
  }
  return *t_locale;
}

void SetThreadLocale(std::string_view name) {
  auto info = LookupLocale(name);
  if (!info) {
    RaiseError(E_FAIL, u"QelLocale",
               u"No se pudo obtener la información de configuración regional '%1'",
               {Variant(FromUtf8(name))});
  }
  t_locale = std::move(info);
  ++t_locale_serial;
}

}  // namespace qel

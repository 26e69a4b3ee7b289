// The table of DDE error texts, kept letter for letter as users of the service know them.
#include <cstdio>

#include "dde/dde_module.h"

namespace qel::internal {
namespace {

constexpr const char16_t* kErrorTexts[] = {
    u"Operación exitosa",                                  // 0 (no error)
    u"Expiró tiempo para inicar notificaciones",           // 0x4000
    u"Servidor está ocupado",                              // 0x4001
    u"Expiró tiempo de acceso a data",                     // 0x4002
    u"Biblioteca no ha sido inicializada",                 // 0x4003
    u"Operación no permitida en servidores de monitoreo",  // 0x4004
    u"Expiró tiempo para execución de comando",            // 0x4005
    u"Parámetro inválido",                                 // 0x4006
    u"No hay memoria suficiente",                          // 0x4007
    u"No se pudo obtener memoria",                         // 0x4008
    u"Requerimiento no se completó",                       // 0x4009
    u"No se pudo establecer una conversación",             // 0x400A
    u"Expiró tiempo de modificación de data",              // 0x400B
    u"Operación PostMessage falló",                        // 0x400C
    u"Operación reentrante",                               // 0x400D
    u"Servidor terminó sus servicios",                     // 0x400E
    u"Error interno de la biblioteca",                     // 0x400F
    u"Expiró tiempo para finalizar notificaciones",        // 0x4010
    u"Identificador de transacción inválido",              // 0x4011
};

constexpr uint32_t kFirstCode = 0x4000;
constexpr uint32_t kLastCode = 0x4011;

}  // namespace

Text DdeErrorText(uint32_t code) {
  if (code == 0) return kErrorTexts[0];
  if (code >= kFirstCode && code <= kLastCode) return kErrorTexts[code - kFirstCode + 1];
  char hex[9];
  std::snprintf(hex, sizeof hex, "%X", code);
  return u"Código de error DDE desconocido: " + FromUtf8(hex);
}

}  // namespace qel::internal

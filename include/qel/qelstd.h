// Umbrella header: everything a client of qelstd uses.
#ifndef QEL_QELSTD_H_
#define QEL_QELSTD_H_

#include "qel/fields/field_types.h"
#include "qel/fields/layout_digest.h"
#include "qel/fields/qel_record_data.h"
#include "qel/fields/qel_record_field.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/fields/rut.h"
#include "qel/frame/convert.h"
#include "qel/frame/date.h"
#include "qel/frame/decimal.h"
#include "qel/frame/error.h"
#include "qel/frame/locale.h"
#include "qel/frame/log.h"
#include "qel/frame/number_format.h"
#include "qel/frame/object.h"
#include "qel/frame/template.h"
#include "qel/frame/text.h"
#include "qel/frame/url_encode.h"
#include "qel/frame/variant.h"
#include "qel/global/qel_global.h"
#include "qel/global/value_compare.h"
#include "qel/props/qel_prop.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_message.h"
#include "qel/records/qel_record.h"
#include "qel/records/qel_record_labels.h"
#include "qel/util/qel_language.h"
#include "qel/util/qel_locale.h"

#endif  // QEL_QELSTD_H_

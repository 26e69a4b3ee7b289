// What only the dispatch module may do to the DDE objects: tell a new collection whose it is,
// and release handles when members leave.
#ifndef QEL_SRC_DDE_DDE_OBJECTS_INTERNAL_H_
#define QEL_SRC_DDE_DDE_OBJECTS_INTERNAL_H_

#include <memory>

#include "qel/dde/qel_dde_item.h"
#include "qel/dde/qel_dde_topic.h"

namespace qel::internal {

class DdeTopicsInternal {
 public:
  static std::shared_ptr<QelDdeTopics> Make(TextView service_name);
  // Frees the topic's handle and clears its items; errors are ignored.
  static void Release(QelDdeTopic& topic) noexcept;
};

class DdeItemsInternal {
 public:
  static std::shared_ptr<QelDdeItems> Make(TextView service_name, TextView topic_name,
                                           uint32_t topic_handle);
  // Frees the item's handles; errors are ignored.
  static void Release(QelDdeItem& item) noexcept;
  // The raw data handle of the item.
  static uint32_t DataHandle(const QelDdeItem& item) { return item.h_data_; }
};

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_DDE_OBJECTS_INTERNAL_H_

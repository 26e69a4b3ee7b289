// QelDde: the DDE-style service of the calling thread.
//
// An application publishes data to other programs by creating a QelDde, calling Initialize
// with its service name, adding topics (Topics().Add) and answering the events of its topics
// (qel_dde_topic.h). Other programs reach the service over the D-Bus session bus under the
// well-known name "org.qelstd.Dde1." + the service name in lower case with every character
// other than an ASCII letter, digit or "-" written as "_" and two hexadecimal digits per
// UTF-8 byte (the README describes the bus interface). Transactions arrive on the thread that
// called Initialize, from inside its GLib main context: the application's own loop (GTK,
// GLib.MainLoop) or QelWaiter.WaitForEvent.
//
// The service is per thread: a second Initialize on the same thread, from this or another
// QelDde, first terminates the running one. Terminate ends it, removing every topic and item;
// destroying the QelDde that started the running service terminates it too.
//
// Errors (Initialize): E_FAIL, source "QelDDE.Initialize", "No se pudo inicializar la
// biblioteca DDE" + line break + the DDE error text when the bus cannot be reached; "No se
// pudo registrar el servicio DDE '%1'" (number E_FAIL, or the DDE error with its text after a
// line break) when the name is taken or not acceptable.
//
// Belongs to the thread that created it; no locks.
#ifndef QEL_DDE_QEL_DDE_H_
#define QEL_DDE_QEL_DDE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "qel/dde/qel_dde_item.h"
#include "qel/dde/qel_dde_topic.h"
#include "qel/frame/export.h"
#include "qel/frame/object.h"
#include "qel/frame/text.h"

namespace qel {

// The bus interface (org.qelstd.Dde1.xml, installed under share/dbus-1/interfaces): its name,
// which is also the prefix of every service's bus name, and the object that carries it.
inline constexpr char kDdeBusInterface[] = "org.qelstd.Dde1";
inline constexpr char kDdeBusObjectPath[] = "/org/qelstd/Dde1";

// The well-known bus name of the service `service_name` (UTF-8), as described above: distinct
// names without regard to case give distinct bus names. It may be longer than the bus allows
// (255 bytes), in which case Initialize refuses the name.
QEL_EXPORT std::string DdeBusName(TextView service_name);

class QEL_EXPORT QelDde final : public Object {
 public:
  QelDde();
  ~QelDde() override;

  TextView ClassName() const override { return u"QelDde"; }

  // The service name given to the last Initialize; empty after Terminate.
  const Text& Name() const { return name_; }
  // The topics of the service; nullptr before Initialize and after Terminate.
  std::shared_ptr<QelDdeTopics> Topics() const { return topics_; }

  // Terminates the thread's running service, then starts one under `service_name`.
  void Initialize(TextView service_name);
  // Ends the thread's service, whoever started it. Never fails.
  void Terminate();

 private:
  Text name_;
  std::shared_ptr<QelDdeTopics> topics_;
  uint32_t instance_ = 0;  // the instance this object started; 0 when none
};

}  // namespace qel

#endif  // QEL_DDE_QEL_DDE_H_

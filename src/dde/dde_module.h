// The DDE dispatch module: the calling thread's DDE instance, its handle helpers, the
// transaction dispatch and the table of DDE error texts.
//
// Per thread: the instance id (0 when not initialised), the service name and its string
// handle, the topic collection, the handle tables and the transport. The routines raise
// through RaiseDdeError (number = the instance's last DDE error, or E_FAIL when none; source
// "QelDDE." + routine; the routine's text, a line break and the error's text). DdeCallback is
// what a transport calls for every transaction; it never raises: an error inside a
// transaction is written to the error log with the source "ModDDE.DdeCallback:" + the
// transaction's prefix + the inner source, and the transaction gets the result as it stood.
//
// Data crosses as Windows-1252 text in clipboard format 1 with its terminating zero byte.
#ifndef QEL_SRC_DDE_DDE_MODULE_H_
#define QEL_SRC_DDE_DDE_MODULE_H_

#include <cstdint>
#include <memory>
#include <span>

#include "dde/dde_handles.h"
#include "dde/dde_transport.h"
#include "qel/dde/qel_dde_topic.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel::internal {

// DDE error codes.
inline constexpr uint32_t kDmlErrNoError = 0;
inline constexpr uint32_t kDmlErrDllNotInitialized = 0x4003;
inline constexpr uint32_t kDmlErrInvalidParameter = 0x4006;
inline constexpr uint32_t kDmlErrMemoryError = 0x4008;
inline constexpr uint32_t kDmlErrNotProcessed = 0x4009;
inline constexpr uint32_t kDmlErrNoConvEstablished = 0x400A;
inline constexpr uint32_t kDmlErrSysError = 0x400F;
inline constexpr uint32_t kDmlErrUnfoundQueueId = 0x4011;

// The text of a DDE error code.
Text DdeErrorText(uint32_t code);
// Raises as described above.
[[noreturn]] void RaiseDdeError(TextView function_name, TextView text);

uint32_t CreateString(TextView text);
void FreeString(uint32_t handle);
// The handle's text; empty for a handle that is not live.
Text QueryString(uint32_t handle);
// An application-owned data handle holding `data` as text (see QelDdeItem::SetData).
uint32_t CreateData(uint32_t item_handle, const Variant& data);
// Null for handle 0, else the whole block as a byte array.
Variant QueryData(uint32_t handle);
void FreeData(uint32_t handle);
void TopicChanged(uint32_t topic_handle, uint32_t item_handle);

// Terminates the thread's service, then starts one; returns its topics.
std::shared_ptr<QelDdeTopics> Initialize(TextView service_name);
// Never fails.
void Terminate() noexcept;
// The thread's instance id; 0 when not initialised.
uint32_t InstanceId();

uint32_t DdeCallback(uint32_t type, uint32_t format, uint32_t conversation, uint32_t hsz1,
                     uint32_t hsz2, uint32_t hdata, uint32_t data1, uint32_t data2) noexcept;

// What a transport uses of the instance: handles it makes for what its clients send and
// releases once the transaction is answered. None of these raise; each answers 0, nullptr or
// false when the thread has no instance or the handle is not live.
uint32_t AcquireStringHandle(TextView text);
void ReleaseStringHandle(uint32_t handle) noexcept;
const Text* StringOf(uint32_t handle);
// A data handle released by its receiver (not application-owned).
uint32_t AddDataHandle(std::span<const uint8_t> bytes, uint32_t item, uint32_t format);
const DataBlock* DataOf(uint32_t handle);
// Releases a handle that is not application-owned; owned ones stay.
void ReleaseReceivedData(uint32_t handle) noexcept;
// The service handle; 0 when none.
uint32_t ServiceHandle();

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_DDE_MODULE_H_

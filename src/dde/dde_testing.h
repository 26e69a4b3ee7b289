// Test fixture of the DDE suites: a service on the in-process transport, and the error log
// captured.
#ifndef QEL_SRC_DDE_DDE_TESTING_H_
#define QEL_SRC_DDE_DDE_TESTING_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "dde/dde_module.h"
#include "dde/in_process_transport.h"
#include "frame/testing.h"
#include "qel/dde/qel_dde.h"
#include "qel/frame/log.h"

namespace qel::testing {

inline ByteArray Bytes(std::string_view s) { return ByteArray(s.begin(), s.end()); }
// The bytes of a CF_TEXT block: the text and its terminating zero.
inline ByteArray Block(std::string_view s) {
  ByteArray b = Bytes(s);
  b.push_back(0);
  return b;
}

class DdeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    internal::SetTransportFactoryForTesting([this] {
      bus_ = std::make_shared<internal::InProcessTransport>();
      return bus_;
    });
    saved_sink_ = SetLogSink([this](const std::string& entry) { log_.push_back(entry); });
    dde_ = std::make_shared<QelDde>();
    dde_->Initialize(u"Server");
  }
  void TearDown() override {
    dde_->Terminate();
    SetLogSink(saved_sink_);
    internal::SetTransportFactoryForTesting(nullptr);
  }

  std::shared_ptr<QelDdeTopic> AddTopic(TextView name) { return dde_->Topics()->Add(name); }

  std::shared_ptr<QelDde> dde_;
  std::shared_ptr<internal::InProcessTransport> bus_;
  std::vector<std::string> log_;
  LogSink saved_sink_;
};

}  // namespace qel::testing

#endif  // QEL_SRC_DDE_DDE_TESTING_H_

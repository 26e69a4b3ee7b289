// Test only: starts tests/inet/http_server.py and tells where it listens.
#ifndef QEL_SRC_INET_TEST_SERVER_H_
#define QEL_SRC_INET_TEST_SERVER_H_

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>
#include <string>

extern char** environ;

namespace qel::testing {

// The server runs while the object lives; closing its standard input stops it.
class TestServer {
 public:
  TestServer() {
    int in[2], out[2];
    if (pipe(in) != 0 || pipe(out) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_addclose(&actions, in[1]);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    char python[] = "/usr/bin/python3";
    char script[] = QEL_TEST_SERVER;
    char* argv[] = {python, script, nullptr};
    const int rc = posix_spawn(&pid_, python, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    stdin_ = in[1];
    if (rc != 0) {
      pid_ = 0;
      close(out[0]);
      return;
    }
    FILE* f = fdopen(out[0], "r");
    char line[1024] = {};
    if (f != nullptr && fgets(line, sizeof line, f) != nullptr) {
      std::istringstream words(line);
      std::string ready;
      words >> ready >> http_port_ >> https_port_ >> ca_file_;
    }
    if (f != nullptr) fclose(f);
  }
  ~TestServer() {
    if (stdin_ >= 0) close(stdin_);
    if (pid_ > 0) waitpid(pid_, nullptr, 0);
  }
  TestServer(const TestServer&) = delete;
  TestServer& operator=(const TestServer&) = delete;

  bool ok() const { return http_port_ > 0 && https_port_ > 0; }
  std::string Http(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(http_port_) + path;
  }
  std::string Https(const std::string& path) const {
    return "https://localhost:" + std::to_string(https_port_) + path;
  }
  const std::string& ca_file() const { return ca_file_; }

 private:
  pid_t pid_ = 0;
  int stdin_ = -1;
  int http_port_ = 0;
  int https_port_ = 0;
  std::string ca_file_;
};

}  // namespace qel::testing

#endif  // QEL_SRC_INET_TEST_SERVER_H_

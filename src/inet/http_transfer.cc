#include "inet/http_transfer.h"

#include <curl/curl.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>

namespace qel::internal {
namespace {

using Clock = std::chrono::steady_clock;

void GlobalInit() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct EasyDeleter {
  void operator()(CURL* h) const { curl_easy_cleanup(h); }
};
struct MultiDeleter {
  void operator()(CURLM* h) const { curl_multi_cleanup(h); }
};
struct ListDeleter {
  void operator()(curl_slist* l) const { curl_slist_free_all(l); }
};

// What the callbacks share with the loop.
struct Progress {
  HttpReply* reply;
  CURL* easy;
  size_t max_body;
  Clock::time_point last_activity;
  curl_off_t last_down = 0;
  curl_off_t last_up = 0;
  const std::function<void(int64_t, int64_t)>* on_progress;
  std::exception_ptr failure;  // thrown by on_progress, rethrown once libcurl has returned
};

size_t OnHeader(char* data, size_t size, size_t count, void* user) {
  auto* p = static_cast<Progress*>(user);
  const size_t n = size * count;
  p->last_activity = Clock::now();
  p->reply->headers.AddLine(std::string_view(data, n));
  return n;
}

size_t OnBody(char* data, size_t size, size_t count, void* user) {
  auto* p = static_cast<Progress*>(user);
  HttpReply& r = *p->reply;
  const size_t n = size * count;
  p->last_activity = Clock::now();
  if (r.body.empty()) {
    // The headers are final once the body starts: a reply the caller refuses is not read.
    long status = 0;
    curl_easy_getinfo(p->easy, CURLINFO_RESPONSE_CODE, &status);
    if (r.headers.overflow() || !IsAcceptedStatus(status)) {
      r.stopped_at_headers = true;
      return CURL_WRITEFUNC_ERROR;
    }
  }
  if (n > p->max_body - r.body.size()) {
    r.body_overflow = true;
    return CURL_WRITEFUNC_ERROR;
  }
  // No exception may cross libcurl's C frames.
  try {
    r.body.insert(r.body.end(), data, data + n);
  } catch (const std::bad_alloc&) {
    r.body_overflow = true;
    return CURL_WRITEFUNC_ERROR;
  }
  return n;
}

int OnProgress(void* user, curl_off_t dltotal, curl_off_t dlnow, curl_off_t, curl_off_t ulnow) {
  auto* p = static_cast<Progress*>(user);
  if (dlnow == p->last_down && ulnow == p->last_up) return 0;
  const bool received = dlnow != p->last_down;
  p->last_down = dlnow;
  p->last_up = ulnow;
  p->last_activity = Clock::now();
  if (received && *p->on_progress) {
    // No exception may cross libcurl's C frames: keep it, stop the transfer.
    try {
      (*p->on_progress)(dlnow, dltotal);
    } catch (...) {
      p->failure = std::current_exception();
      return 1;
    }
  }
  return 0;
}

// The multi handle only drives one transfer at a time; it is kept per thread because making
// one costs a socket pair and a few allocations. Nothing of a transfer stays in it: the
// connection is closed at the end (CURLOPT_FORBID_REUSE) and names are not cached.
thread_local std::unique_ptr<CURLM, MultiDeleter> t_multi;

}  // namespace

HttpReply PerformHttp(const HttpRequest& request) {
  GlobalInit();
  HttpReply reply;
  std::unique_ptr<CURL, EasyDeleter> easy(curl_easy_init());
  if (!t_multi) t_multi.reset(curl_multi_init());
  CURLM* const multi = t_multi.get();
  if (!easy || multi == nullptr) {
    reply.curl_code = CURLE_OUT_OF_MEMORY;
    return reply;
  }
  CURL* h = easy.get();
  Progress progress{&reply, h, request.max_body, Clock::now(), 0, 0, &request.on_progress, {}};

  std::unique_ptr<curl_slist, ListDeleter> headers;
  for (const std::string& line : request.header_lines) {
    curl_slist* next = curl_slist_append(headers.get(), line.c_str());
    if (next == nullptr) {
      reply.curl_code = CURLE_OUT_OF_MEMORY;
      return reply;
    }
    (void)headers.release();
    headers.reset(next);
  }

  curl_easy_setopt(h, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(h, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(h, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(h, CURLOPT_MAXREDIRS, 20L);
  curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(h, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(h, CURLOPT_DNS_CACHE_TIMEOUT, 0L);
  curl_easy_setopt(h, CURLOPT_USERAGENT, request.user_agent.c_str());
  curl_easy_setopt(h, CURLOPT_HTTPHEADER, headers.get());
  if (!request.user.empty()) {
    curl_easy_setopt(h, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
    curl_easy_setopt(h, CURLOPT_USERNAME, request.user.c_str());
    curl_easy_setopt(h, CURLOPT_PASSWORD, request.password.c_str());
  }
  if (request.post) {
    curl_easy_setopt(h, CURLOPT_POST, 1L);
    curl_easy_setopt(h, CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(request.post_data.size()));
    curl_easy_setopt(h, CURLOPT_POSTFIELDS, request.post_data.data());
  }
  // OpenSSL's own variables for the trust store, which libcurl's compiled-in bundle would
  // otherwise hide.
  if (const char* file = std::getenv("SSL_CERT_FILE"); file != nullptr && *file != '\0') {
    curl_easy_setopt(h, CURLOPT_CAINFO, file);
  }
  if (const char* dir = std::getenv("SSL_CERT_DIR"); dir != nullptr && *dir != '\0') {
    curl_easy_setopt(h, CURLOPT_CAPATH, dir);
  }
  curl_easy_setopt(h, CURLOPT_HEADERFUNCTION, &OnHeader);
  curl_easy_setopt(h, CURLOPT_HEADERDATA, &progress);
  curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &OnBody);
  curl_easy_setopt(h, CURLOPT_WRITEDATA, &progress);
  curl_easy_setopt(h, CURLOPT_XFERINFOFUNCTION, &OnProgress);
  curl_easy_setopt(h, CURLOPT_XFERINFODATA, &progress);
  curl_easy_setopt(h, CURLOPT_NOPROGRESS, 0L);

  if (curl_multi_add_handle(multi, h) != CURLM_OK) {
    reply.curl_code = CURLE_OUT_OF_MEMORY;
    return reply;
  }
  // The shared multi handle must not keep a handle that is about to go.
  struct Detach {
    CURLM* multi;
    CURL* easy;
    ~Detach() { curl_multi_remove_handle(multi, easy); }
  } detach{multi, h};
  const auto limit = std::chrono::milliseconds(request.timeout_ms);
  int running = 1;
  while (running > 0) {
    if (curl_multi_perform(multi, &running) != CURLM_OK) break;
    if (running == 0) break;
    int wait_ms = 1000;
    if (request.timeout_ms > 0) {
      const auto idle = Clock::now() - progress.last_activity;
      if (idle >= limit) {
        reply.timed_out = true;
        break;
      }
      wait_ms = static_cast<int>(
          std::chrono::ceil<std::chrono::milliseconds>(limit - idle).count());
    }
    if (curl_multi_poll(multi, nullptr, 0, wait_ms, nullptr) != CURLM_OK) break;
  }

  if (reply.timed_out) {
    reply.curl_code = CURLE_OPERATION_TIMEDOUT;
  } else {
    reply.curl_code = CURLE_RECV_ERROR;  // unless libcurl reports how the transfer ended
    int queued = 0;
    while (CURLMsg* msg = curl_multi_info_read(multi, &queued)) {
      if (msg->msg == CURLMSG_DONE && msg->easy_handle == h) reply.curl_code = msg->data.result;
    }
  }
  curl_easy_getinfo(h, CURLINFO_RESPONSE_CODE, &reply.status);
  curl_easy_getinfo(h, CURLINFO_SSL_VERIFYRESULT, &reply.verify_result);
  if (progress.failure) std::rethrow_exception(progress.failure);
  return reply;
}

}  // namespace qel::internal

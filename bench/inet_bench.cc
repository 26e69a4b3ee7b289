// Internet client: requests per second against a server on 127.0.0.1, beside a bare libcurl
// loop and the curl command-line tool doing the same, and the gzip inflater's output rate.
//
// Workloads:
//   InetSmallGet      QelInet::HttpGet of a 13-byte body
//   CurlSmallGet      a bare libcurl loop: a new easy handle per request, body into a vector
//   CurlToolSmallGet  the curl tool, one process per request, body to /dev/null
//   InetGzip10MB      QelInet::HttpGet of 10 MB of text sent gzipped, inflated by the library
//   CurlGzip10MB      the bare loop with CURLOPT_ACCEPT_ENCODING, libcurl inflating
//   CurlZlibGzip10MB  the bare loop taking the raw body, then one zlib inflate into a buffer
//                     of the announced size (what the library does)
//   CurlToolGzip10MB  curl --compressed
//   GzipInflate10MB   the library's inflater alone on the same 10 MB body (bytes/s of output)
//
// The server is a thread of this program: it accepts one connection at a time, reads the
// request head and writes a prepared reply, then closes, so every client pays the same
// connection set-up. Each request opens a connection of its own, as QelInet always does.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "inet/gzip_inflate.h"
#include "qel/inet/qel_inet.h"

extern char** environ;

namespace {

std::string TextOf(size_t size) {
  static const std::string kLine = "En un lugar de la Mancha, de cuyo nombre no quiero acordarme. ";
  std::string s;
  s.reserve(size + kLine.size());
  while (s.size() < size) s += kLine;
  s.resize(size);
  return s;
}

std::string Gzip(const std::string& data) {
  z_stream z{};
  deflateInit2(&z, 6, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::string out(deflateBound(&z, data.size()) + 64, '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  z.avail_in = static_cast<uInt>(data.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  deflate(&z, Z_FINISH);
  out.resize(z.total_out);
  deflateEnd(&z);
  return out;
}

class Server {
 public:
  Server() {
    small_ = Reply("", "hola, mundo!\n");
    gzip_body_ = Gzip(TextOf(10 << 20));
    gzip_ = Reply("Content-Encoding: gzip\r\n", gzip_body_);
    listener_ = socket(AF_INET, SOCK_STREAM, 0);
    const int one = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    for (port_ = 32100; port_ > 30000; --port_) {
      addr.sin_port = htons(static_cast<uint16_t>(port_));
      if (bind(listener_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) break;
    }
    listen(listener_, 64);
    thread_ = std::thread([this] { Serve(); });
  }
  ~Server() {
    stop_ = true;
    shutdown(listener_, SHUT_RDWR);
    close(listener_);
    thread_.join();
  }

  std::string Url(const char* path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
  }
  const std::string& gzip_body() const { return gzip_body_; }

 private:
  static std::string Reply(const std::string& headers, const std::string& body) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nConnection: close\r\n" + headers + "\r\n" + body;
  }

  void Serve() {
    while (!stop_) {
      const int c = accept(listener_, nullptr, nullptr);
      if (c < 0) continue;
      std::string head;
      char buf[4096];
      while (head.find("\r\n\r\n") == std::string::npos) {
        const ssize_t n = read(c, buf, sizeof buf);
        if (n <= 0) break;
        head.append(buf, static_cast<size_t>(n));
      }
      const std::string& reply = head.find("/gzip") != std::string::npos ? gzip_ : small_;
      size_t sent = 0;
      while (sent < reply.size()) {
        const ssize_t n = write(c, reply.data() + sent, reply.size() - sent);
        if (n <= 0) break;
        sent += static_cast<size_t>(n);
      }
      shutdown(c, SHUT_WR);
      while (read(c, buf, sizeof buf) > 0) {
      }
      close(c);
    }
  }

  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stop_{false};
  std::string small_, gzip_, gzip_body_;
  std::thread thread_;
};

Server& TheServer() {
  static Server server;
  return server;
}

size_t Collect(char* data, size_t size, size_t count, void* user) {
  auto* body = static_cast<std::vector<char>*>(user);
  body->insert(body->end(), data, data + size * count);
  return size * count;
}

// What a plain libcurl program does for one GET.
size_t BareCurlGet(const std::string& url, bool decode) {
  std::vector<char> body;
  CURL* h = curl_easy_init();
  curl_easy_setopt(h, CURLOPT_URL, url.c_str());
  curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &Collect);
  curl_easy_setopt(h, CURLOPT_WRITEDATA, &body);
  curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
  if (decode) curl_easy_setopt(h, CURLOPT_ACCEPT_ENCODING, "gzip");
  curl_easy_perform(h);
  curl_easy_cleanup(h);
  return body.size();
}

// The bare loop's own inflate: zlib straight into a buffer of the size the trailer announces.
size_t ZlibInflate(const std::vector<char>& in) {
  if (in.size() < 4) return 0;
  const auto* p = reinterpret_cast<const uint8_t*>(in.data() + in.size() - 4);
  std::vector<uint8_t> out(p[0] | p[1] << 8 | p[2] << 16 | static_cast<size_t>(p[3]) << 24);
  z_stream z{};
  inflateInit2(&z, 16 + MAX_WBITS);
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data()));
  z.avail_in = static_cast<uInt>(in.size());
  z.next_out = out.data();
  z.avail_out = static_cast<uInt>(out.size());
  inflate(&z, Z_FINISH);
  inflateEnd(&z);
  return z.total_out;
}

size_t BareCurlGetInflate(const std::string& url) {
  std::vector<char> body;
  CURL* h = curl_easy_init();
  curl_easy_setopt(h, CURLOPT_URL, url.c_str());
  curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &Collect);
  curl_easy_setopt(h, CURLOPT_WRITEDATA, &body);
  curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
  curl_easy_perform(h);
  curl_easy_cleanup(h);
  return ZlibInflate(body);
}

void CurlTool(const std::string& url, bool compressed) {
  std::vector<std::string> words = {"curl", "-s", "-o", "/dev/null"};
  if (compressed) words.emplace_back("--compressed");
  words.push_back(url);
  std::vector<char*> argv;
  for (auto& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  if (posix_spawnp(&pid, "curl", nullptr, nullptr, argv.data(), environ) == 0) {
    waitpid(pid, nullptr, 0);
  }
}

void InetSmallGet(benchmark::State& state) {
  const qel::Text url = qel::FromUtf8(TheServer().Url("/small"));
  qel::QelInet inet;
  for (auto _ : state) benchmark::DoNotOptimize(inet.HttpGet(url));
  state.SetItemsProcessed(state.iterations());
}

void CurlSmallGet(benchmark::State& state) {
  const std::string url = TheServer().Url("/small");
  for (auto _ : state) benchmark::DoNotOptimize(BareCurlGet(url, false));
  state.SetItemsProcessed(state.iterations());
}

void CurlToolSmallGet(benchmark::State& state) {
  const std::string url = TheServer().Url("/small");
  for (auto _ : state) CurlTool(url, false);
  state.SetItemsProcessed(state.iterations());
}

void InetGzip10MB(benchmark::State& state) {
  const qel::Text url = qel::FromUtf8(TheServer().Url("/gzip"));
  qel::QelInet inet;
  for (auto _ : state) benchmark::DoNotOptimize(inet.HttpGet(url, u"", 1));
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * (10 << 20));
}

void CurlGzip10MB(benchmark::State& state) {
  const std::string url = TheServer().Url("/gzip");
  for (auto _ : state) benchmark::DoNotOptimize(BareCurlGet(url, true));
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * (10 << 20));
}

void CurlZlibGzip10MB(benchmark::State& state) {
  const std::string url = TheServer().Url("/gzip");
  for (auto _ : state) benchmark::DoNotOptimize(BareCurlGetInflate(url));
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * (10 << 20));
}

void CurlToolGzip10MB(benchmark::State& state) {
  const std::string url = TheServer().Url("/gzip");
  for (auto _ : state) CurlTool(url, true);
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * (10 << 20));
}

void GzipInflate10MB(benchmark::State& state) {
  const std::string& body = TheServer().gzip_body();
  const std::span<const uint8_t> in(reinterpret_cast<const uint8_t*>(body.data()), body.size());
  std::vector<uint8_t> out;
  for (auto _ : state) {
    qel::internal::GzipInflate(in, qel::QelInet::kMaxBodyBytes, out);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(state.iterations() * (10 << 20));
}

BENCHMARK(InetSmallGet)->UseRealTime();
BENCHMARK(CurlSmallGet)->UseRealTime();
BENCHMARK(CurlToolSmallGet)->UseRealTime();
BENCHMARK(InetGzip10MB)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CurlGzip10MB)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CurlZlibGzip10MB)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CurlToolGzip10MB)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(GzipInflate10MB)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

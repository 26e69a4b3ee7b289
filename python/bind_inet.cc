// The internet client: QelInet and its enumerations. Requests release the GIL while they
// wait for the network; the arguments are copied into C++ texts first.
#include "bindings.h"
#include "qel/inet/qel_inet.h"

namespace qel::python {

void BindInetEnums(py::module_& m) {
  for (auto [name, value] : {std::pair{"qelSchemePartial", qelSchemePartial},
                             {"qelSchemeUnknown", qelSchemeUnknown},
                             {"qelSchemeDefault", qelSchemeDefault},
                             {"qelSchemeFtp", qelSchemeFtp},
                             {"qelSchemeGopher", qelSchemeGopher},
                             {"qelSchemeHttp", qelSchemeHttp},
                             {"qelSchemeHttps", qelSchemeHttps},
                             {"qelSchemeFile", qelSchemeFile},
                             {"qelSchemeNews", qelSchemeNews},
                             {"qelSchemeMailto", qelSchemeMailto},
                             {"qelSchemeSocks", qelSchemeSocks}}) {
    m.attr(name) = static_cast<int32_t>(value);
  }
  for (auto [name, value] : {std::pair{"qelHttpOptDefault", qelHttpOptDefault},
                             {"qelHttpOptRequestGzip", qelHttpOptRequestGzip},
                             {"qelHttpOptCompressData", qelHttpOptCompressData},
                             {"qelHttpOptCompressAndGzip", qelHttpOptCompressAndGzip}}) {
    m.attr(name) = static_cast<int32_t>(value);
  }
}

void BindQelInet(PyClass<QelInet>& c) {
  c.def(py::init<>(), "An internet client with no URL and empty Headers.")
      .def_property_readonly("URL", &QelInet::URL, "The URL last given to SplitURL, as given.")
      .def_property_readonly("Scheme", &QelInet::Scheme,
                             "The scheme number (QelInetSchemes); 0 when no URL was split.")
      .def_property_readonly("SchemeName", &QelInet::SchemeName,
                             "'http', 'https', ... for Scheme; 'unknown' for unknown schemes.")
      .def_property_readonly("HostName", &QelInet::HostName, "The host part.")
      .def_property_readonly("Port", &QelInet::Port,
                             "The port, or the scheme's default when the URL names none.")
      .def_property_readonly("UserName", &QelInet::UserName, "The user-name part.")
      .def_property_readonly("Password", &QelInet::Password, "The password part.")
      .def_property_readonly("UrlPath", &QelInet::UrlPath, "The path part.")
      .def_property_readonly("ExtraInfo", &QelInet::ExtraInfo,
                             "The query and fragment, with their leading '?' or '#'.")
      .def_property_readonly("Headers", &QelInet::Headers,
                             "The QelProps of the last reply's headers, with HTTP_STATUS and "
                             "HTTP_MESSAGE.")
      .def("SplitURL", &QelInet::SplitURL, py::arg("URL"),
           "Splits URL into the read-only parts, without decoding or escaping. Raises "
           "QelError (source 'InternetCrackUrl') for a URL without a scheme, a bad port or a "
           "part over its limit (host 255, user and password 127, path and extra 2047).")
      .def("CombineURL", &QelInet::CombineURL, py::arg("BaseURL"), py::arg("RelativeURL"),
           "RelativeURL resolved against BaseURL as a browser does (RFC 3986); at most 2047 "
           "characters. The URL parts are left alone.")
      .def("Clear", &QelInet::Clear, "Empties the URL parts and Headers.")
      .def(
          "HttpGet",
          [](QelInet& self, const Text& url, const Text& headers, int32_t options,
             int32_t timeout_ms) {
            Variant body;
            {
              py::gil_scoped_release release;
              body = self.HttpGet(url, headers, options, timeout_ms);
            }
            return body;
          },
          py::arg("URL"), py::arg("Headers") = Text(), py::arg("Options") = 0,
          py::arg("TimeoutMS") = 0,
          "GETs URL and returns the reply body as bytes, or None when it is empty. Headers "
          "holds extra request lines separated by CR LF; Options is a QelHttpOptions bit set "
          "(1 asks for gzip); TimeoutMS > 0 bounds each wait for the server. A status outside "
          "200..205 raises &H80040000 + status. The GIL is released during the request.")
      .def(
          "HttpPost",
          [](QelInet& self, const Text& url, const Text& post_data, const Text& headers,
             int32_t options, int32_t timeout_ms) {
            Variant body;
            {
              py::gil_scoped_release release;
              body = self.HttpPost(url, post_data, headers, options, timeout_ms);
            }
            return body;
          },
          py::arg("URL"), py::arg("PostData"), py::arg("Headers") = Text(),
          py::arg("Options") = 0, py::arg("TimeoutMS") = 0,
          "POSTs PostData (sent as Windows-1252, form-urlencoded) to URL; otherwise as "
          "HttpGet. The GIL is released during the request.");
}

}  // namespace qel::python

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zforms {

// Requests as bytes, with the expected status of each. "PORT" is replaced by the server's port; the limits are those of
// SmallLimits() in the tests. Unless noted otherwise, every request is one to /app/echo/, which accepts GET, HEAD and
// POST, and is followed on its connection by another one. No answer may repeat the word "zqx".
struct HTTPRequestCase {
  std::string title;
  std::string bytes;
  int status;
};

inline std::string WithPort(std::string text, unsigned port) {
  for (size_t at; (at = text.find("PORT")) != std::string::npos;) text.replace(at, 4, std::to_string(port));
  return text;
}

inline std::vector<HTTPRequestCase> HTTPRequestCases() {
  const std::string host = "Host: localhost:PORT\r\n";
  const std::string get = "GET /app/echo/zqx HTTP/1.1\r\n";
  const std::string post = "POST /app/echo/zqx HTTP/1.1\r\n" + host;
  const auto with = [&](const std::string& fields) { return get + host + fields + "\r\n"; };
  const auto sent = [&](const std::string& fields, const std::string& body) { return post + fields + "\r\n" + body; };
  const std::string chunked = "Transfer-Encoding: chunked\r\n";
  const std::string foreign = "Sec-Fetch-Site: cross-site\r\n";
  const std::string navigates = "Sec-Fetch-Mode: navigate\r\n";
  const std::string link = navigates + "Sec-Fetch-Dest: document\r\n";
  std::string many;
  for (int i = 0; i < 40; i++) many += "X-Field: 1\r\n";
  return {
      // Requests that are served.
      {"plain", with(""), 200},
      {"HTTP/1.0", "GET /app/echo/ HTTP/1.0\r\n" + host + "\r\n", 200},
      {"IPv4 name", get + "Host: 127.0.0.1:PORT\r\n\r\n", 200},
      {"IPv6 name", get + "Host: [::1]:PORT\r\n\r\n", 200},
      {"name in capitals", get + "hOST: LocalHost:PORT\r\n\r\n", 200},
      {"own origin", with("Origin: http://localhost:PORT\r\n"), 200},
      {"own origin by number", with("Origin: http://127.0.0.1:PORT\r\nSec-Fetch-Site: same-origin\r\n"), 200},
      {"typed address", with("Sec-Fetch-Site: none\r\n"), 200},
      {"whole URL", "GET http://localhost:PORT/app/echo/ HTTP/1.1\r\n" + host + "\r\n", 200},
      {"line end before", "\r\n" + with(""), 200},
      {"body", sent("Content-Length: 5\r\n", "hello"), 200},
      {"empty body", sent("Content-Length: 0\r\n", ""), 200},
      {"body of the largest size", sent("Content-Length: 1000\r\n", std::string(1000, 'x')), 200},
      {"chunks", sent(chunked, "5\r\nhello\r\nA;name=value\r\n0123456789\r\n0\r\n\r\n"), 200},
      {"chunks and trailer", sent(chunked, "1\r\nx\r\n0\r\nHost: zqx\r\nOrigin: null\r\n\r\n"), 200},
      {"chunk extensions", sent(chunked, "5 ; a\t= \"\t\\\"\xC3\xA9;\";b=c;d\r\nhello\r\n0;e=\"\"\r\n\r\n"), 200},
      {"escaped name of a page", "GET /%61pp/echo/ HTTP/1.1\r\n" + host + "\r\n", 200},
      // Framing that another reader could interpret differently.
      {"no host", get + "\r\n", 400},
      {"two hosts", with(host), 400},
      {"host after a blank", get + " " + host + "\r\n", 400},
      {"equal lengths", sent("Content-Length: 5\r\nContent-Length: 5\r\n", "hello"), 400},
      {"other lengths", sent("Content-Length: 5\r\nContent-Length: 6\r\n", "hello"), 400},
      {"list of lengths", sent("Content-Length: 5, 5\r\n", "hello"), 400},
      {"signed length", sent("Content-Length: +5\r\n", "hello"), 400},
      {"negative length", sent("Content-Length: -5\r\n", "hello"), 400},
      {"hexadecimal length", sent("Content-Length: 0x5\r\n", "hello"), 400},
      {"length with a blank", sent("Content-Length: 1 0\r\n", "hello"), 400},
      {"empty length", sent("Content-Length:\r\n", "hello"), 400},
      {"length past 64 bits", sent("Content-Length: 18446744073709551621\r\n", "hello"), 400},
      {"blank before the colon", sent("Content-Length : 5\r\n", "hello"), 400},
      {"length and chunks", sent("Content-Length: 5\r\n" + chunked, "0\r\n\r\n"), 400},
      {"chunks and length", sent(chunked + "Content-Length: 5\r\n", "0\r\n\r\n"), 400},
      {"chunked twice", sent(chunked + chunked, "0\r\n\r\n"), 400},
      {"two codings", sent("Transfer-Encoding: gzip, chunked\r\n", "0\r\n\r\n"), 400},
      {"chunked, chunked", sent("Transfer-Encoding: chunked, chunked\r\n", "0\r\n\r\n"), 400},
      {"another coding", sent("Transfer-Encoding: identity\r\n", "0\r\n\r\n"), 400},
      {"nearly chunked",
       sent("Transfer-Encoding: \x0b"
            "chunked\r\n",
            "0\r\n\r\n"),
       400},
      {"chunks in HTTP/1.0", "POST /app/echo/ HTTP/1.0\r\n" + host + chunked + "\r\n0\r\n\r\n", 400},
      {"chunk without size", sent(chunked, "\r\nhello\r\n0\r\n\r\n"), 400},
      {"chunk of hexadecimal size", sent(chunked, "0x5\r\nhello\r\n0\r\n\r\n"), 400},
      {"chunk of negative size", sent(chunked, "-5\r\nhello\r\n0\r\n\r\n"), 400},
      {"chunk past 64 bits", sent(chunked, "10000000000000005\r\nhello\r\n0\r\n\r\n"), 400},
      {"chunk longer than said", sent(chunked, "5\r\nhello!\r\n0\r\n\r\n"), 400},
      {"chunk line ended by a line feed", sent(chunked, "5\nhello\n0\n\n"), 400},
      {"line feed in an extension", sent(chunked, "1;a=\"b\nc\"\r\nx\r\n0\r\n\r\n"), 400},
      {"line feed in the last extension", sent(chunked, "1\r\nx\r\n0;a=\"b\nc\"\r\n\r\n"), 400},
      {"control character in an extension", sent(chunked, "1;a=\"\x01\"\r\nx\r\n0\r\n\r\n"), 400},
      {"escaped control character in an extension", sent(chunked, "1;a=\"\\\x7F\"\r\nx\r\n0\r\n\r\n"), 400},
      {"quotes over the end of a chunk line", sent(chunked, "1;a=\"\r\nx\r\n0;b=\"\r\n\r\n"), 400},
      {"quotes open at the end of a chunk line", sent(chunked, "1;a=\"\r\nx\r\n0\r\n\r\n"), 400},
      {"quotes open at the end of the last chunk line", sent(chunked, "1\r\nx\r\n0;a=\"\r\n\r\n"), 400},
      {"blank behind the size of a chunk", sent(chunked, "1 \r\nx\r\n0\r\n\r\n"), 400},
      {"length in a trailer", sent(chunked, "1\r\nx\r\n0\r\nContent-Length: 5\r\n\r\n"), 400},
      {"line feeds alone", "GET /app/echo/zqx HTTP/1.1\nHost: localhost:PORT\n\n", 400},
      {"carriage return in a value", with("X: a\rX-Other: b\r\n"), 400},
      {"zero byte in a value", with(std::string("X: a") + '\0' + "b\r\n"), 400},
      {"zero byte in a name", with(std::string("X") + '\0' + ": a\r\n"), 400},
      {"no colon", with("zqx\r\n"), 400},
      {"no target", "GET  HTTP/1.1\r\n" + host + "\r\n", 400},
      {"blank in the target", "GET /app/echo/ zqx HTTP/1.1\r\n" + host + "\r\n", 400},
      {"target without slash", "GET zqx HTTP/1.1\r\n" + host + "\r\n", 400},
      {"asterisk", "OPTIONS * HTTP/1.1\r\n" + host + "\r\n", 400},
      {"authority", "CONNECT localhost:PORT HTTP/1.1\r\n" + host + "\r\n", 400},
      {"target like a server", "GET //zqx/app/echo/ HTTP/1.1\r\n" + host + "\r\n", 400},
      {"target with reference", "GET /app/echo/#zqx HTTP/1.1\r\n" + host + "\r\n", 400},
      {"zero byte in the target", std::string("GET /app/echo/") + '\0' + " HTTP/1.1\r\n" + host + "\r\n", 400},
      {"no protocol", "GET /app/echo/\r\n" + host + "\r\n", 400},
      {"TLS", "\x16\x03\x01\x02" + std::string(40, 'z'), 400},
      // Requests that are not addressed to this server, or do not come from its own pages.
      {"foreign host", get + "Host: zqx.example:PORT\r\n\r\n", 403},
      {"other port", get + "Host: localhost:1\r\n\r\n", 403},
      {"no port", get + "Host: localhost\r\n\r\n", 403},
      {"host with a tail", get + "Host: localhost:PORTzqx\r\n\r\n", 403},
      {"host that begins so", get + "Host: localhost.zqx.example:PORT\r\n\r\n", 403},
      {"user before the host", get + "Host: zqx@localhost:PORT\r\n\r\n", 403},
      {"empty host", get + "Host:\r\n\r\n", 403},
      {"foreign URL", "GET http://zqx.example:PORT/app/echo/ HTTP/1.1\r\n" + host + "\r\n", 403},
      {"foreign origin", with("Origin: http://zqx.example\r\n"), 403},
      {"null origin", with("Origin: null\r\n"), 403},
      {"origin of another port", with("Origin: http://localhost:1\r\n"), 403},
      {"origin of another protocol", with("Origin: https://localhost:PORT\r\n"), 403},
      {"origin of a file", with("Origin: file://\r\n"), 403},
      {"second origin", with("Origin: http://localhost:PORT\r\nOrigin: http://zqx.example\r\n"), 403},
      {"cross-site", with("Sec-Fetch-Site: cross-site\r\n"), 403},
      {"same site, another port", with("Sec-Fetch-Site: same-site\r\n"), 403},
      {"site of an unknown kind", with("Sec-Fetch-Site: zqx\r\n"), 403},
      {"link to a page", with(foreign + link), 403},
      {"link with parameters", "GET /?zqx HTTP/1.1\r\n" + host + foreign + link + "\r\n", 403},
      {"frame", "GET / HTTP/1.1\r\n" + host + foreign + navigates + "Sec-Fetch-Dest: iframe\r\n\r\n", 403},
      {"script", "GET / HTTP/1.1\r\n" + host + foreign + "Sec-Fetch-Mode: no-cors\r\n\r\n", 403},
      {"form", "POST / HTTP/1.1\r\n" + host + foreign + link + "Content-Length: 0\r\n\r\n", 403},
      {"foreign post", sent("Origin: http://zqx.example\r\nContent-Length: 5\r\n", "hello"), 403},
      // Other cases.
      {"link to the first page", "GET / HTTP/1.1\r\n" + host + foreign + link + "\r\n", 404},
      {"no page", "GET /zqx HTTP/1.1\r\n" + host + "\r\n", 404},
      {"page by its beginning", "GET /app/echozqx HTTP/1.1\r\n" + host + "\r\n", 404},
      {"dots", "GET /app/echo/../zqx HTTP/1.1\r\n" + host + "\r\n", 404},
      {"escaped dots", "GET /app/echo/%2e%2E/zqx HTTP/1.1\r\n" + host + "\r\n", 404},
      {"escaped slash", "GET /app%2Fecho/zqx HTTP/1.1\r\n" + host + "\r\n", 404},
      {"method unknown", "ZQX /app/echo/ HTTP/1.1\r\n" + host + "\r\n", 405},
      {"method in small letters", "get /app/echo/ HTTP/1.1\r\n" + host + "\r\n", 405},
      {"method not taken", "DELETE /app/echo/zqx HTTP/1.1\r\n" + host + "\r\n", 405},
      {"preflight", "OPTIONS /app/echo/zqx HTTP/1.1\r\n" + host + "Access-Control-Request-Method: POST\r\n\r\n", 405},
      {"trace", "TRACE /app/echo/zqx HTTP/1.1\r\n" + host + "\r\n", 405},
      {"no length", sent("", ""), 411},
      {"body too long", sent("Content-Length: 1001\r\n", std::string(1001, 'x')), 413},
      {"body of huge length", sent("Content-Length: 18446744073709551615\r\n", "x"), 413},
      {"chunks too long together", sent(chunked, "1F4\r\n" + std::string(500, 'x') + "\r\n1F5\r\n"), 413},
      {"unknown expectation", with("Expect: zqx\r\n"), 417},
      {"long field", with("X-Field: " + std::string(2100, 'x') + "\r\n"), 431},
      {"long name", with(std::string(2100, 'x') + ": 1\r\n"), 431},
      {"long target", "GET /app/echo/" + std::string(2100, 'x') + " HTTP/1.1\r\n" + host + "\r\n", 431},
      {"many fields", with(many), 431},
      {"endless line", std::string(5000, 'G'), 431},
      {"endless chunk line", sent(chunked, "5;" + std::string(3000, 'x')), 431},
      {"next protocol", "GET /app/echo/zqx HTTP/2.0\r\n" + host + "\r\n", 505},
  };
}

}  // namespace zforms

#include <gtest/gtest.h>

#include <chrono>

#include "ports/posix/curl_connection.h"
#include "tests/ports/scripted_server.h"

namespace revwarden {
namespace {

constexpr std::chrono::milliseconds kIdle{600};
const std::string kOk = "HTTP/1.1 200 OK\r\n";

// Sends through a connection with a short idle limit and keeps the last report.
struct Client {
  std::optional<std::string> post(const std::string& url, const std::string& body = "ask") {
    const URLExchange exchange = connection.sendSynchronousRequest({url, "POST", body});
    return exchange.body ? std::optional(*exchange.body) : std::nullopt;
  }

  ExchangeEnd end;
  CurlConnection connection{[this](const ExchangeEnd& ended) { end = ended; }, {.idle = kIdle}};
};

TEST(Connection, SendsOnlyTheHeadersThatHttpDemands) {
  ScriptedServer server({ScriptedServer::says(kOk + "Content-Length: 2\r\n\r\nhi")});
  const std::string body(2'000'000, 'x');  // large enough for libcurl to add "Expect:"
  EXPECT_EQ(Client().post(server.url("/api/update"), body), "hi");
  const std::string& request = server.requests().at(0);
  const size_t head = request.find("\r\n\r\n") + 4;
  EXPECT_EQ(request.substr(0, head),
            "POST /api/update HTTP/1.1\r\nHost: " + server.url("").substr(7) +
                "\r\nContent-Length: 2000000\r\n\r\n");
  EXPECT_EQ(request.substr(head), body);
}

TEST(Connection, TimesOutOnlyWithoutProgress) {
  Client client;
  ScriptedServer trickle({[](int socket) {
    ScriptedServer::say(socket, kOk + "Content-Length: 8\r\n\r\n");
    for (int i = 0; i < 8; ++i) {
      std::this_thread::sleep_for(kIdle / 4);
      ScriptedServer::say(socket, "x");
    }
  }});
  EXPECT_EQ(client.post(trickle.url()), "xxxxxxxx");

  ScriptedServer stall({[](int socket) {
    ScriptedServer::say(socket, kOk + "Content-Length: 8\r\n\r\nxxx");
    char byte;
    recv(socket, &byte, 1, 0);  // until the client gives up
  }});
  EXPECT_EQ(client.post(stall.url()), std::nullopt);
  EXPECT_EQ(client.end.bytesReceived, 3);
}

TEST(Connection, UsesTheChosenProxyElseThatOfTheEnvironment) {
  const ScriptedServer::Script answer = ScriptedServer::says(kOk + "Content-Length: 2\r\n\r\nhi");
  ScriptedServer proxy({answer, answer}), server({answer});
  const auto get = [](const std::string& url, const std::optional<std::string>& chosen) {
    const auto choose = [&](const std::string& asked) { return asked == url ? chosen : "no://"; };
    return CurlConnection({}, {}, choose).sendSynchronousRequest({url, "GET", ""}).body.value();
  };
  setenv("no_proxy", "a.invalid", 1);
  setenv("http_proxy", proxy.url("").c_str(), 1);
  EXPECT_EQ(get("http://a.invalid/x", proxy.url("")), "hi");
  EXPECT_EQ(get("http://b.invalid/", std::nullopt), "hi");
  EXPECT_EQ(get(server.url(), ""), "hi");
  EXPECT_TRUE(unsetenv("no_proxy") == 0 && unsetenv("http_proxy") == 0);
  EXPECT_TRUE(proxy.requests().at(0).starts_with("GET http://a.invalid/x HTTP/1.1\r\n"));
  EXPECT_TRUE(server.requests().at(0).starts_with("GET / HTTP/1.1\r\n"));
}

}  // namespace
}  // namespace revwarden

#include <gtest/gtest.h>

#include <chrono>

#include "ports/posix/curl_connection.h"
#include "tests/ports/scripted_server.h"

namespace revwarden {
namespace {

constexpr std::chrono::milliseconds kIdle{600};
const std::string kOk = "HTTP/1.1 200 OK\r\n";

// Sends through a connection with small limits and keeps what was reported.
struct Client {
  std::optional<std::string> post(const std::string& url, const std::string& body = "ask") {
    return connection.sendSynchronousRequest({url, "POST", body});
  }

  ExchangeEnd end;
  CurlConnection connection{[this](const ExchangeEnd& ended) { end = ended; },
                            {.idle = kIdle, .bodyBytes = 1000}};
};

TEST(Connection, SendsNoHeaderThatHttpDoesNotDemand) {
  ScriptedServer server({ScriptedServer::says(kOk + "Content-Length: 2\r\n\r\nhi")});
  const std::string body(2'000'000, 'x');  // well past the size at which libcurl likes "Expect:"
  EXPECT_EQ(Client().post(server.url("/api/update"), body), "hi");
  const std::string& request = server.requests().at(0);
  const size_t head = request.find("\r\n\r\n") + 4;
  EXPECT_EQ(request.substr(0, head),
            "POST /api/update HTTP/1.1\r\nHost: " + server.url("").substr(7) +
                "\r\nContent-Length: 2000000\r\n\r\n");
  EXPECT_EQ(request.substr(head), body);
}

TEST(Connection, TakesEveryWholeBodyWhateverTheStatus) {
  const std::pair<std::string, std::string> answers[] = {
      {"HTTP/1.1 204 No Content\r\n\r\n", ""},
      {"HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\nnope", "nope"},
      {"HTTP/1.1 500 Oops\r\n\r\nuntil the end", "until the end"},
      {kOk + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n", "abcde"},
      {kOk + "Content-Encoding: gzip\r\nContent-Length: 3\r\n\r\nraw", "raw"},
  };
  for (const auto& [answer, body] : answers) {
    ScriptedServer server({ScriptedServer::says(answer)});
    Client client;
    EXPECT_EQ(client.post(server.url()), body) << answer;
    EXPECT_EQ(client.end.error, std::nullopt);
    EXPECT_EQ(client.end.address, server.url());
    EXPECT_GE(client.end.status, 200);
    EXPECT_EQ(client.end.bytesReceived, static_cast<int64_t>(body.size()));
  }
}

TEST(Connection, ABodyThatIsNotWholeIsNone) {
  const ScriptedServer::Script scripts[] = {
      ScriptedServer::says(""),
      ScriptedServer::says(kOk + "Content-Length: 10\r\n\r\n<answer/>"),
      ScriptedServer::says(kOk + "Transfer-Encoding: chunked\r\n\r\n2\r\nok\r\n"),
      ScriptedServer::says("<html>this is no HTTP</html>\r\n\r\n"),
      ScriptedServer::says(kOk + "\r\n" + std::string(1001, 'x')),
  };
  for (size_t i = 0; i < std::size(scripts); ++i) {
    ScriptedServer server({scripts[i]});
    Client client;
    EXPECT_EQ(client.post(server.url()), std::nullopt) << i;
    EXPECT_NE(client.end.error.value_or(""), "") << i;
  }
  Client local;
  EXPECT_EQ(local.post("file:///etc/hostname"), std::nullopt);
  EXPECT_TRUE(local.end.error && local.end.status == 0);
}

TEST(Connection, OnlyStandingStillEndsAnExchange) {
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

TEST(Connection, FollowsRedirectsLikeABrowser) {
  for (const int status : {301, 303, 307}) {
    const std::string moved = " Moved\r\nLocation: /new\r\nContent-Length: 3\r\n\r\nold";
    ScriptedServer server({ScriptedServer::says("HTTP/1.1 " + std::to_string(status) + moved),
                           ScriptedServer::says(kOk + "Content-Length: 3\r\n\r\nnew")});
    EXPECT_EQ(Client().post(server.url("/old")), "new");
    const std::string& second = server.requests().at(1);
    const bool again = status >= 307;
    EXPECT_TRUE(second.starts_with(again ? "POST /new " : "GET /new ")) << second;
    EXPECT_TRUE(second.ends_with(again ? "\r\n\r\nask" : "\r\n\r\n")) << second;
  }
  ScriptedServer leaving({ScriptedServer::says(
      "HTTP/1.1 302 Found\r\nLocation: file:///etc/hostname\r\nContent-Length: 0\r\n\r\n")});
  EXPECT_EQ(Client().post(leaving.url()), std::nullopt);
}

TEST(Connection, GoesThroughTheProxyThatIsChosenElseAsTheEnvironmentSays) {
  const ScriptedServer::Script answer = ScriptedServer::says(kOk + "Content-Length: 2\r\n\r\nhi");
  ScriptedServer proxy({answer, answer}), server({answer});
  const auto get = [](const std::string& url, const std::optional<std::string>& chosen) {
    const auto choose = [&](const std::string& asked) { return asked == url ? chosen : "no://"; };
    return CurlConnection({}, {}, choose).sendSynchronousRequest({url, "GET", ""});
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

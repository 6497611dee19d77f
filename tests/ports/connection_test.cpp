#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "ports/posix/curl_connection.h"
#include "tests/ports/scripted_server.h"

namespace revwarden {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kIdle{600};

// Sends through a connection with small limits and keeps what was reported.
struct Client {
  std::optional<std::string> post(const std::string& url, const std::string& body = "ask") {
    return connection.sendSynchronousRequest({url, "POST", body});
  }

  std::vector<ExchangeEnd> ends;
  CurlConnection connection{[this](const ExchangeEnd& end) { ends.push_back(end); },
                            {.idle = kIdle, .bodyBytes = 1000}};
};

TEST(Connection, SendsNoHeaderThatHttpDoesNotDemand) {
  ScriptedServer server({ScriptedServer::says("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhi")});
  const std::string body(2'000'000, 'x');  // well past the size at which libcurl likes "Expect:"
  Client client;
  EXPECT_EQ(client.post(server.url("/api/update"), body), "hi");
  const std::string& request = server.requests().at(0);
  const size_t head = request.find("\r\n\r\n") + 4;
  EXPECT_EQ(request.substr(0, head),
            "POST /api/update HTTP/1.1\r\nHost: " + server.url("").substr(7) +
                "\r\nContent-Length: 2000000\r\n\r\n");
  EXPECT_EQ(request.substr(head), body);
}

TEST(Connection, TakesEveryWholeBodyWhateverTheStatus) {
  const std::pair<const char*, const char*> answers[] = {
      {"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", ""},
      {"HTTP/1.1 204 No Content\r\n\r\n", ""},
      {"HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\nnope", "nope"},
      {"HTTP/1.1 500 Oops\r\n\r\nuntil the end", "until the end"},
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n",
       "abcde"},
      {"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 3\r\n\r\nraw", "raw"},
      {"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx", "x"},
  };
  for (const auto& [answer, body] : answers) {
    ScriptedServer server({ScriptedServer::says(answer)});
    Client client;
    EXPECT_EQ(client.post(server.url()), body) << answer;
    ASSERT_EQ(client.ends.size(), 1u);
    EXPECT_EQ(client.ends[0].error, std::nullopt);
    EXPECT_EQ(client.ends[0].address, server.url());
    EXPECT_GE(client.ends[0].status, 200);
    EXPECT_EQ(client.ends[0].bytesReceived, static_cast<int64_t>(std::string(body).size()));
  }
}

TEST(Connection, ABodyThatIsNotWholeIsNone) {
  const auto reset = [](const std::string& bytes) {
    return [bytes](const ScriptedPeer& peer) {
      peer.send(bytes);
      std::this_thread::sleep_for(milliseconds(20));  // let the bytes arrive ahead of the reset
      peer.resetOnClose();
    };
  };
  const ScriptedServer::Script scripts[] = {
      ScriptedServer::says(""),
      ScriptedServer::says("HTTP/1.1 200 OK\r\nContent-Le"),
      ScriptedServer::says("HTTP/1.1 200 OK\r\nServer: x\r\n"),
      ScriptedServer::says("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n<answer/>"),
      ScriptedServer::says("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n9\r\n<answer"),
      ScriptedServer::says("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nok\r\n"),
      ScriptedServer::says("<html>this is no HTTP</html>\r\n\r\n"),
      ScriptedServer::says("HTTP/1.1 200 OK\r\n\r\n" + std::string(1001, 'x')),
      reset(""),
      reset("HTTP/1.1 200 OK\r\n\r\n<answer/>"),
  };
  for (size_t i = 0; i < std::size(scripts); ++i) {
    ScriptedServer server({scripts[i]});
    Client client;
    EXPECT_EQ(client.post(server.url()), std::nullopt) << i;
    ASSERT_EQ(client.ends.size(), 1u);
    EXPECT_NE(client.ends[0].error.value_or(""), "") << i;
  }
}

TEST(Connection, UnreachableAndMeaninglessAddressesAreReportedWithoutStatus) {
  std::string closed;
  { closed = ScriptedServer({}).url(); }
  for (const std::string& url : {closed, std::string("file:///etc/hostname"), std::string()}) {
    Client client;
    EXPECT_EQ(client.post(url), std::nullopt);
    EXPECT_EQ(client.ends.at(0).status, 0);
    EXPECT_TRUE(client.ends.at(0).error);
  }
}

TEST(Connection, OnlyStandingStillEndsAnExchange) {
  ScriptedServer trickle({[](const ScriptedPeer& peer) {
    peer.send("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\n");
    for (int i = 0; i < 8; ++i) {
      std::this_thread::sleep_for(kIdle / 4);
      peer.send("x");
    }
  }});
  Client client;
  EXPECT_EQ(client.post(trickle.url()), "xxxxxxxx");

  ScriptedServer stall({[](const ScriptedPeer& peer) {
    peer.send("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\nxxx");
    peer.waitUntilPeerCloses();
  }});
  const auto began = steady_clock::now();
  EXPECT_EQ(client.post(stall.url()), std::nullopt);
  EXPECT_GE(steady_clock::now() - began, kIdle);
  EXPECT_EQ(client.ends.at(1).bytesReceived, 3);
  EXPECT_EQ(client.ends.at(1).status, 200);
}

TEST(Connection, ConnectingMayNotStandStillEither) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const name = reinterpret_cast<sockaddr*>(&address);
  ASSERT_EQ(bind(listener, name, size) | listen(listener, 0) | getsockname(listener, name, &size),
            0);
  std::vector<int> crowd;  // who fills the queue of connections that nobody accepts
  for (int i = 0; i < 4; ++i) {
    crowd.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    connect(crowd.back(), name, size);
  }
  Client client;
  EXPECT_EQ(client.post("http://127.0.0.1:" + std::to_string(ntohs(address.sin_port))),
            std::nullopt);
  EXPECT_TRUE(client.ends.at(0).error.value_or("").starts_with("Timed out"));
  for (const int one : crowd) close(one);
  close(listener);
}

TEST(Connection, FollowsRedirectsLikeABrowser) {
  for (const int status : {301, 302, 303, 307, 308}) {
    ScriptedServer server(
        {ScriptedServer::says("HTTP/1.1 " + std::to_string(status) +
                              " Moved\r\nLocation: /new\r\nContent-Length: 3\r\n\r\nold"),
         ScriptedServer::says("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nnew")});
    Client client;
    EXPECT_EQ(client.post(server.url("/old")), "new");
    const std::string& second = server.requests().at(1);
    const bool again = status >= 307;
    EXPECT_TRUE(second.starts_with(again ? "POST /new " : "GET /new ")) << second;
    EXPECT_TRUE(second.ends_with(again ? "\r\n\r\nask" : "\r\n\r\n")) << second;
    EXPECT_EQ(second.find("Accept"), std::string::npos);
  }
  ScriptedServer leaving({ScriptedServer::says(
      "HTTP/1.1 302 Found\r\nLocation: file:///etc/hostname\r\nContent-Length: 0\r\n\r\n")});
  EXPECT_EQ(Client().post(leaving.url()), std::nullopt);
}

TEST(Connection, ManyThreadsSendAtOnceAndABrokenPipeHarmsNobody) {
  ScriptedServer deaf({[](const ScriptedPeer& peer) { peer.resetOnClose(); }});
  std::atomic<int> ended = 0;
  CurlConnection connection([&](const ExchangeEnd&) { ++ended; });
  EXPECT_NE(signal(SIGPIPE, SIG_IGN), SIG_DFL);
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      ScriptedServer server(
          {ScriptedServer::says("HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\ny")});
      EXPECT_EQ(connection.sendSynchronousRequest({server.url(), "GET", ""}), "y");
    });
  }
  EXPECT_EQ(connection.sendSynchronousRequest({deaf.url(), "POST", std::string(9'000'000, 'x')}),
            std::nullopt);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(ended, 9);
}

}  // namespace
}  // namespace revwarden

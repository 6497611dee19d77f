#include <gmock/gmock.h>
#include <sys/stat.h>

#include <deque>

#include "host/json_values.h"
#include "tests/host/host_fixture.h"

namespace revwarden {
namespace {

using testing::HasSubstr;

constexpr ClientConnection::Limits kSmall{1000, 1 << 20, std::chrono::milliseconds(300), 4};

/// A method that answers its text, after an event of it.
void addEcho(Server& server) {
  server.methods["echo"] = taking<std::string>([&server](const std::string& text) {
    server.events->append("echoed", jsonList({jsonText(text)}));
    return jsonText(text);
  });
}

/// Events of `bytes` bytes in all, without waiting for anybody.
void sendEvents(Server& server, size_t bytes) {
  const std::string text(64 << 10, 'x');
  for (size_t sent = 0; sent < bytes; sent += text.size()) {
    server.events->append("bulk", jsonList({jsonText(text)}));
  }
}

TEST(ControlSocket, RepliesFollowTheirEventsAndEveryClientHearsThem) {
  Server server(addEcho);
  RawClient one(server.path()), other(server.path());
  EXPECT_EQ(other.call("nothing")["error"]["code"], kRpcMethodNotFound);  // it is connected
  one.request("echo", {"a"}, 1);
  one.send("{\"jsonrpc\":\"2.0\",\"id\":2,\"me");
  one.send("thod\":\"echo\",\"params\":[\"b\"]}\n");
  for (int i = 1; i <= 2; ++i) {
    const Json text = i == 1 ? "a" : "b";
    EXPECT_EQ(one.receive(), Json({{"jsonrpc", "2.0"}, {"method", "echoed"}, {"params", {text}}}));
    EXPECT_EQ(one.receive(), Json({{"jsonrpc", "2.0"}, {"id", i}, {"result", text}}));
    EXPECT_EQ(other.receive()["params"], Json({text}));
  }
  EXPECT_EQ(linesOf(server.folder.file("events"))[0]["main"], true);
}

TEST(ControlSocket, RequestsRunInNestedTurnsButOnlySoDeepAndAllAreAnswered) {
  size_t depth = 0, deepest = 0;
  bool released = false;
  Server server([&](Server& made) {
    made.methods["nest"] = taking<>([&] {
      deepest = std::max(deepest, ++depth);
      while (!released) made.loop->runOneTurn(RunLoopMode::defaultMode);
      return std::to_string(depth--);
    });
  });
  std::deque<RawClient> clients;
  for (size_t i = 0; i < 2 * ControlSocket::kDeepest; ++i) {
    if (i % 10 == 0) clients.emplace_back(server.path());
    clients.back().request("nest");
  }
  for (bool full = false; !full;) {  // also by the requests of a client whose first one waits
    server.loop->postAndWait([&] { full = depth >= ControlSocket::kDeepest; });
  }
  server.loop->post([&] { released = true; });
  for (RawClient& client : clients) {
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(client.receive().contains("result"));
  }
  EXPECT_EQ(deepest, ControlSocket::kDeepest);
}

TEST(ControlSocket, AClientThatNeverReadsIsDroppedAndHoldsNobodyUp) {
  Server server(addEcho, kSmall);
  RawClient mute(server.path()), reader(server.path());
  EXPECT_EQ(mute.call("nothing")["error"]["code"], kRpcMethodNotFound);
  const auto countEvents = [](RawClient& client) {
    size_t events = 0;
    while (client.receive()["method"] == "bulk") ++events;
    return events;
  };
  auto heard = std::async(std::launch::async, countEvents, std::ref(reader));
  sendEvents(server, 4 << 20);
  server.events->append("end", "[]");
  EXPECT_EQ(heard.get(), 64u);
  std::this_thread::sleep_for(2 * kSmall.patience);  // what is tested is that time
  EXPECT_LT(countEvents(mute), 16u);
  EXPECT_TRUE(mute.hasEnded);

  RawClient slow(server.path());  // may leave as much unread as it likes below the limit
  slow.call("nothing");
  sendEvents(server, 900 << 10);
  std::this_thread::sleep_for(2 * kSmall.patience);
  for (int i = 0; i < 15; ++i) ASSERT_EQ(slow.receive()["method"], "bulk");
}

TEST(ControlSocket, ManyRequestsOfAClientThatDoesNotReadAreLeftUnread) {
  Server server(
      [](Server& made) {
        made.methods["large"] = taking<>([&made] {
          made.events->append("performed", "[]");
          return jsonText(std::string(400 << 10, 'x'));
        });
      },
      {1000, 1 << 20, std::chrono::seconds(10), 4});
  RawClient client(server.path());
  for (int i = 0; i < 50; ++i) client.request("large");
  // Performed until too much waits, and again as it is read.
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_LT(linesOf(server.folder.file("events")).size(), 20u);
  for (int replies = 0; replies < 50;) replies += client.receive().contains("result");
}

TEST(SocketClaim, IsPrivateAndLeavesNothingButWhatIsNotOurs) {
  const ScratchFolder folder;
  const std::string path = folder.file("deep/run/agent.sock");
  auto claim = std::move(*SocketClaim::create(path));
  ASSERT_TRUE(claim->listen());
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  ASSERT_EQ(::stat(folder.file("deep/run").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
  claim.reset();
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("deep/run")));

  std::ofstream(folder.file("text")) << "mine";
  EXPECT_THAT(SocketClaim::create(folder.file("text")).error().message, HasSubstr("no socket"));
  EXPECT_TRUE(std::filesystem::exists(folder.file("text")));

  std::filesystem::create_directory(folder.file("open"));
  ::chmod(folder.file("open").c_str(), 0777);
  EXPECT_THAT(SocketClaim::create(folder.file("open/agent.sock")).error().message,
              HasSubstr("other users"));
}

}  // namespace
}  // namespace revwarden

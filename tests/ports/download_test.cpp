#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "ports/posix/curl_downloads.h"
#include "ports/posix/suggested_filename.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/ports/scripted_server.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;
using Events = std::vector<std::string>;

const std::string kOk = "HTTP/1.1 200 OK\r\n";

// A delegate that records the events, and a folder of its own for the file.
class Download : public testing::Test, protected URLDownloadDelegate {
 protected:
  std::unique_ptr<URLDownload> begin(const std::string& url) {
    events.clear();
    return CurlDownloads({.idle = idle}).beginDownload(url, *this);
  }
  Events run(const std::string& url) {
    const auto download = begin(url);
    while (download->runOneTurn()) {
    }
    return events;
  }
  Events run(const std::string& answer, const std::string& path) {
    ScriptedServer server({ScriptedServer::says(answer)});
    return run(server.url(path));
  }
  static ScriptedServer::Script stalls(const std::string& body) {
    return [body](int socket) {
      ScriptedServer::say(socket, kOk + "Content-Length: 9\r\n\r\n" + body);
      char byte;
      recv(socket, &byte, 1, 0);  // until the client disconnects
    };
  }
  void expectFailure(const Events& all, const std::string& text = "") {
    EXPECT_TRUE(all.back().starts_with("failure ")) << all.back();
    EXPECT_NE(all.back().find(text), std::string::npos) << all.back();
    EXPECT_GT(all.back().size(), sizeof "failure ");
  }

  void download_didReceiveResponse(const URLDownloadResponse& response) override {
    events.push_back("response " + response.mimeType + " " +
                     std::to_string(response.expectedLength));
  }
  std::string download_decideDestinationWithSuggestedFilename(
      const std::optional<std::string>& name) override {
    events.push_back("destination " + name.value_or("(none)"));
    return file;
  }
  void download_didReceiveDataOfLength(int64_t length) override {
    received = (events.back() == "data" ? received : 0) + length;
    largest = std::max(largest, length);
    if (events.back() != "data") events.push_back("data");
  }
  void downloadDidFinish() override { events.push_back("finish"); }
  void download_didFailWithError(const URLDownloadError& error) override {
    EXPECT_FALSE(fs::is_regular_file(file));
    events.push_back("failure " + error.code + " " + error.localizedFailureReason.value_or("") +
                     "; " + error.localizedDescription.value_or(""));
  }

  const ScratchFolder folder;
  const fs::path file = folder.file("new/folder/file");
  std::chrono::milliseconds idle = std::chrono::seconds(20);
  Events events;
  int64_t received = 0;
  int64_t largest = 0;
};

TEST_F(Download, ReportsTheResponseThatCarriesTheBody) {
  const std::string octets = "response application/octet-stream ";
  EXPECT_EQ(run(kOk + "Content-Type: Application/X-ZIP; a=b\r\nContent-Length: 3\r\n\r\nabc", "/a"),
            (Events{"response Application/X-ZIP 3", "destination a", "data", "finish"}));
  EXPECT_EQ(folder.read("new/folder/file"), "abc");
  EXPECT_EQ(run("HTTP/1.1 500 Oops\r\nContent-Encoding: gzip\r\n\r\nraw, to the end", "/"),
            (Events{octets + "-1", "destination (none)", "data", "finish"}));
  EXPECT_EQ(folder.read("new/folder/file"), "raw, to the end");
  EXPECT_EQ(run("HTTP/1.1 103 Soon\r\nContent-Type: a/b\r\n\r\nHTTP/1.1 204 None\r\n\r\n", "/"),
            (Events{octets + "0", "destination (none)", "finish"}));
  EXPECT_TRUE(fs::is_regular_file(file) && fs::is_empty(file));

  ScriptedServer moved(
      {ScriptedServer::says("HTTP/1.1 302 Found\r\nLocation: /new.dmg?x=/y.txt\r\n"
                            "Content-Type: text/html\r\nContent-Length: 4\r\n\r\nhtml"),
       ScriptedServer::says(kOk + "Content-Type: a/zip\r\nTransfer-Encoding: chunked\r\n\r\n"
                                  "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n")});
  EXPECT_EQ(run(moved.url("/old.zip")),
            (Events{"response a/zip -1", "destination new.dmg", "data", "finish"}));
  EXPECT_EQ(folder.read("new/folder/file"), "abcde");
}

TEST_F(Download, DeliversALargeBodyInSeveralTurns) {
  std::string chunked = kOk + "Transfer-Encoding: chunked\r\n\r\n", body;
  for (char letter = 'a'; letter < 'm'; ++letter) {
    body += std::string(1'000'000, letter);
    chunked += "F4240\r\n" + std::string(1'000'000, letter) + "\r\n";
  }
  for (const std::string& answer : {kOk + "\r\n" + body, chunked + "0\r\n\r\n"}) {
    EXPECT_EQ(run(answer, "/").back(), "finish");
    EXPECT_TRUE(folder.read("new/folder/file") == body);
    EXPECT_EQ(received, body.size());
    EXPECT_LT(largest, 5'000'000);
  }
}

TEST_F(Download, RemovesTheFileWhenTheBodyIsIncomplete) {
  for (const std::string& answer :
       {kOk + "Content-Length: 10\r\n\r\nshort", std::string("HTTP/1.1 200 OK\r\nContent-"),
        kOk + "Transfer-Encoding: chunked\r\n\r\n2\r\nok\r\n",
        std::string("HTTP/1.1 302 Found\r\nLocation: file:///etc/hostname\r\n\r\n")}) {
    expectFailure(run(answer, "/a"));
  }
  expectFailure(run("no HTTP\r\n\r\n", "/a"), "connection ; The response is not HTTP");
  for (const char* url :
       {"file:///etc/hostname", "ftp://127.0.0.1/a", "127.0.0.1/a", "", "http://"}) {
    expectFailure(run(url));
    EXPECT_EQ(events.size(), 1);
  }
  ScriptedServer stalled({stalls("some")});
  idle = std::chrono::milliseconds(600);
  expectFailure(run(stalled.url()), "Timed out");
  EXPECT_EQ(received, 4);
}

TEST_F(Download, ReplacesFilesAndLinksButNoFolder) {
  const std::string answer = kOk + "\r\nfresh";
  folder.write("other", "other");
  fs::create_directories(file.parent_path());
  fs::create_symlink(folder.file("other"), file);
  EXPECT_EQ(run(answer, "/").back(), "finish");
  EXPECT_EQ(folder.read("other"), "other");
  folder.write("new/folder/file", "a longer text than the fresh one");
  EXPECT_EQ(run(answer, "/").back(), "finish");
  EXPECT_EQ(folder.read("new/folder/file"), "fresh");
  fs::remove(file);
  fs::create_directory(file);
  expectFailure(run(answer, "/"), "Cannot create " + file.string());
}

TEST_F(Download, RemovesTheFileWhenWritingFails) {
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const rlimit small{1'000'000, old.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  std::signal(SIGXFSZ, SIG_IGN);
  expectFailure(run(kOk + "\r\n" + std::string(2'000'000, 'x'), "/"),
                "noSpace File too large; Cannot write " + file.string());
  setrlimit(RLIMIT_FSIZE, &old);
}

TEST_F(Download, RemovesOnlyItsOwnFileWhenDestroyed) {
  for (size_t turns = 1; turns <= 3; ++turns) {
    ScriptedServer server({stalls(turns == 3 ? "some" : "")});
    auto download = begin(server.url());
    for (size_t i = 1; i <= turns; ++i) EXPECT_TRUE(download->runOneTurn() && events.size() == i);
    EXPECT_EQ(fs::exists(file), turns >= 2);
    download.reset();
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(events.size(), turns);
  }

  ScriptedServer server({stalls("some")});
  auto download = begin(server.url());
  while (events.size() < 3) download->runOneTurn();
  fs::remove(file);
  folder.write("new/folder/file", "of another download");
  download.reset();
  EXPECT_EQ(folder.read("new/folder/file"), "of another download");
}

TEST(SuggestedFilename, IsASafePathComponent) {
  const std::string url = "http://host.example/a/from%20path.zip?q=/r.txt#/s";
  const std::string e(235, 'e');
  const std::tuple<std::string, std::string, std::optional<std::string>> cases[] = {
      {"", url, "from path.zip"},
      {"", "http://host.example", std::nullopt},
      {"", "http://host.example/..%2f..%2f", std::nullopt},
      {"", "http://host.example/%2e%2e%2fetc%00%0a%zz%4", "etc%zz%4"},
      {"ATTACHMENT ;x=\"; filename=no\"; FileName = \"a \\\"b\\\"; c.zip\" ;y", url,
       "a \"b\"; c.zip"},
      {"attachment; filename=\"a.zip\"; filename*=UTF-8''na%C3%AFve%2F%e2%82%ac.zip", url, "€.zip"},
      {"attachment; filename*=koi8-r''%c1; filename=\"caf\xe9.zip\"", url, "café.zip"},
      {"attachment; filename=\"../../x\"", url, "x"},
      {"attachment; filename=..", url, "from path.zip"},
      {"attachment; filename=\"\x1b[2J\tx\x7f\"", url, "[2Jx"},
      {"attachment; filename=\"open\\", url, "open\\"},
      {"attachment; filename=" + e + "xé" + e + ".dmg", url, e + "x.dmg"},
  };
  for (const auto& [disposition, address, name] : cases) {
    EXPECT_EQ(suggestedFilename(disposition, address), name) << disposition << " " << address;
  }
}

}  // namespace
}  // namespace revwarden

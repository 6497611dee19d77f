#include <fcntl.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace revwarden {
namespace {

namespace fs = std::filesystem;
using std::chrono::steady_clock;

std::string request(const std::vector<std::string>& bundleIds) {
  std::string text = "<?xml version=\"1.0\"?><request os=\"any\">";
  for (const std::string& id : bundleIds) {
    text += "<item><name>n</name><version>1</version><bundleId>" + id + "</bundleId></item>";
  }
  return text + "</request>";
}

// The program, running with a folder of its own.
class Service : public testing::Test {
 protected:
  void SetUp() override {
    std::string folder = testing::TempDir() + "/service-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    fs::create_directories(folder_ / "files/deep");
    write("secret.txt", "secret");
    write("files/app.ZIP", "0123456789");
    write("files/deep/page.html", "<p>");
    write("catalogue.json", R"([{"bundle_id": "org.one", "version": "2", "size": 12, "beta": true,
        "more": null, "list": [1], "no name": "x", "download_link": "/files/app.ZIP"},
        {"bundle_id": "org.two", "notes": "<&\u0001>", "download_link": "https://else.where/x"},
        {"bundle_id": "org.one", "version": "later"}, {"version": "nobody's"}])");
    start("127.0.0.1:0");
    const auto until = steady_clock::now() + std::chrono::seconds(20);
    std::string line;
    while (!line.ends_with('\n') && steady_clock::now() < until) {
      usleep(2000);
      line = read("out");
    }
    ASSERT_TRUE(line.starts_with("listening on http://127.0.0.1:")) << line << read("err");
    address_ = line.substr(20, line.find('\n') - 20);
    client_ = std::make_unique<httplib::Client>("http://" + address_);
    client_->set_read_timeout(20);
  }

  void TearDown() override {
    if (process_ > 0) kill(process_, SIGKILL), waitpid(process_, nullptr, 0);
    fs::remove_all(folder_);
  }

  void start(const std::string& listen) {
    const std::string catalogue = folder_ / "catalogue.json";
    const std::string files = folder_ / "files";
    std::vector<const char*> arguments = {
        REVWARDEN_SERVICE, "--listen", listen.c_str(), "--catalogue",
        catalogue.c_str(), "--files",  files.c_str(),  nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, 1, (folder_ / "out").c_str(), flags, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, (folder_ / "err").c_str(), flags, 0600);
    ASSERT_EQ(posix_spawn(&process_, REVWARDEN_SERVICE, &actions, nullptr,
                          const_cast<char**>(arguments.data()), environ),
              0);
    posix_spawn_file_actions_destroy(&actions);
  }

  int waitForEnd() {
    int status = -1;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void write(const std::string& name, const std::string& text) const {
    std::ofstream(folder_ / name, std::ios::binary) << text;
  }

  std::string read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(folder_ / name, std::ios::binary).rdbuf();
    return text.str();
  }

  std::string answerFor(const std::vector<std::string>& bundleIds) {
    const auto answer = client_->Post("/api/update", request(bundleIds), "");
    return answer && answer->status == 200 ? answer->body : "no answer";
  }

  int statusOf(const std::string& path, const httplib::Headers& headers = {}) {
    const auto answer = client_->Get(path, headers);
    return answer ? answer->status : 0;
  }

  // What the program answers to these bytes, up to the end of the connection.
  std::string rawAnswer(const std::string& bytes) const {
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(std::stoi(address_.substr(address_.find(':') + 1)));
    EXPECT_EQ(connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    std::string answer;
    char buffer[4096];
    for (ssize_t count; (count = recv(connection, buffer, sizeof buffer, 0)) > 0;) {
      answer.append(buffer, static_cast<size_t>(count));
    }
    close(connection);
    return answer;
  }

  fs::path folder_;
  pid_t process_ = -1;
  std::string address_;
  std::unique_ptr<httplib::Client> client_;
};

TEST_F(Service, AnswersWhatItKnowsInTheOrderOfTheRequest) {
  EXPECT_EQ(answerFor({"org.two", "org.none", "", "org.one", "org.two"}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
            "<response><item><bundle_id>org.two</bundle_id><download_link>https://else.where/x"
            "</download_link><notes>&lt;&amp;&gt;</notes></item>"
            "<item><beta>true</beta><bundle_id>org.one</bundle_id><download_link>http://" +
                address_ +
                "/files/app.ZIP</download_link><size>12</size><version>2</version></item>"
                "<item><bundle_id>org.two</bundle_id><download_link>https://else.where/x"
                "</download_link><notes>&lt;&amp;&gt;</notes></item></response>");
  EXPECT_NE(read("err").find("\"no name\""), std::string::npos);
  EXPECT_NE(answerFor({}).find("<response/>"), std::string::npos);
}

TEST_F(Service, RefusesWhatIsNoRequest) {
  for (const char* body : {"", "garbage", "<request>", "<response/>", "<request/>junk"}) {
    const auto answer = client_->Post("/api/update", body, "application/x-www-form-urlencoded");
    EXPECT_TRUE(answer && answer->status == 400) << body;
  }
  for (const std::string method : {"GET", "PUT", "DELETE", "OPTIONS", "TRACE"}) {
    const std::string answer =
        rawAnswer(method + " /api/update HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 405 ")) << method << answer;
  }
  httplib::Request unknown;
  unknown.method = "PROPFIND";
  unknown.path = "/api/update";
  EXPECT_EQ(client_->send(unknown)->status, 405);
  const std::string large(65 << 20, ' ');
  const auto refused = client_->Post("/api/update", large, "text/xml");
  EXPECT_TRUE(refused && refused->status == 413);
  const auto chunked = client_->Post(
      "/api/update",
      [&](size_t, httplib::DataSink& sink) {
        sink.write(large.data(), large.size());
        sink.done();
        return true;
      },
      "text/xml");
  EXPECT_TRUE(chunked && chunked->status == 413);
  EXPECT_NE(answerFor({"org.one"}).find("org.one"), std::string::npos);
}

TEST_F(Service, ReadsTheCatalogueAgainAndKeepsTheLastGoodOne) {
  EXPECT_NE(answerFor({"org.one"}).find("<version>2<"), std::string::npos);
  const auto replace = [this](const std::string& text) {
    write("next.json", text);
    fs::rename(folder_ / "next.json", folder_ / "catalogue.json");
  };
  replace(R"([{"bundle_id": "org.one", "version": "3"}])");
  EXPECT_NE(answerFor({"org.one"}).find("<version>3<"), std::string::npos);
  for (const char* damaged : {"[{", "{}", "[1]", "", "[{\"bundle_id\": \"\xff\"}]"}) {
    replace(damaged);
    EXPECT_NE(answerFor({"org.one"}).find("<version>3<"), std::string::npos) << damaged;
  }
  fs::remove(folder_ / "catalogue.json");
  EXPECT_NE(answerFor({"org.one"}).find("<version>3<"), std::string::npos);
  EXPECT_NE(read("err").find("cannot use"), std::string::npos);
  replace("[]");
  EXPECT_NE(answerFor({"org.one"}).find("<response/>"), std::string::npos);
}

TEST_F(Service, ServesFilesWithRangesAndTypes) {
  const auto whole = client_->Get("/files/app.ZIP");
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->body, "0123456789");
  EXPECT_EQ(whole->get_header_value("Content-Type"), "application/zip");
  EXPECT_EQ(client_->Head("/files/app.ZIP")->get_header_value("Content-Length"), "10");
  EXPECT_EQ(client_->Get("/files/deep/page.html")->get_header_value("Content-Type"), "text/html");
  const std::tuple<const char*, int, const char*> ranges[] = {{"bytes=2-4", 206, "234"},
                                                              {"bytes=7-", 206, "789"},
                                                              {"bytes=-3", 206, "789"},
                                                              {"bytes=8-99", 206, "89"},
                                                              {"bytes=-99", 206, "0123456789"},
                                                              {"bytes=10-", 416, ""},
                                                              {"bytes=-0", 416, ""},
                                                              {"bytes=0-1,4-5", 200, "0123456789"}};
  for (const auto& [range, status, body] : ranges) {
    const auto part = client_->Get("/files/app.ZIP", {{"Range", range}});
    ASSERT_TRUE(part) << range;
    EXPECT_EQ(part->status, status) << range;
    EXPECT_EQ(part->body, body) << range;
  }
}

TEST_F(Service, NeverLeavesItsFolder) {
  fs::create_directory_symlink(folder_, folder_ / "files/up");
  fs::create_directory_symlink("..", folder_ / "files/deep/over");
  fs::create_symlink("../../secret.txt", folder_ / "files/deep/link");
  fs::create_symlink("deep/page.html", folder_ / "files/inside");
  mkfifo((folder_ / "files/fifo").c_str(), 0600);
  EXPECT_EQ(statusOf("/files/inside"), 200);
  EXPECT_EQ(statusOf("/files/deep/over/app.ZIP"), 200);
  for (const std::string path :
       {"../secret.txt", "%2e%2e/secret.txt", "deep/../../secret.txt", "..%2fsecret.txt",
        "up/secret.txt", "deep/link", "deep/over/../secret.txt", "/etc/hostname",
        "%2fetc%2fhostname", "app.ZIP%00.html", "fifo", "deep", "", "none"}) {
    const std::string answer =
        rawAnswer("GET /files/" + path + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 404 ")) << path << answer;
  }
}

TEST_F(Service, EndsCleanlyAndLogsLinesWithoutControlCharacters) {
  statusOf("/files/%1b%5b31m");
  rawAnswer("GET /files/\x1b[31m\xff HTTP/1.1\r\nConnection: close\r\n\r\n");
  const std::string log = read("err");
  EXPECT_NE(log.find("\"GET /files/?[31m?\" 404"), std::string::npos) << log;
  EXPECT_EQ(log.find('\x1b'), std::string::npos);
  const pid_t first = process_;
  start(address_);
  EXPECT_EQ(waitForEnd(), 1);
  EXPECT_NE(read("err").find("cannot listen on " + address_), std::string::npos);
  process_ = first;
  kill(process_, SIGTERM);
  EXPECT_EQ(waitForEnd(), 0);
}

}  // namespace
}  // namespace revwarden

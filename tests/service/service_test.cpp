#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>

#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

std::string request(const std::vector<std::string>& bundleIds) {
  std::string text = "<?xml version=\"1.0\"?><request os=\"any\">";
  for (const std::string& id : bundleIds) {
    text += "<item><name>n</name><version>1</version><bundleId>" + id + "</bundleId></item>";
  }
  return text + "</request>";
}

// Runs the service in a folder of its own.
class Service : public testing::Test {
 protected:
  void SetUp() override {
    folder_.write("secret.txt", "secret");
    folder_.write("files/app.ZIP", "0123456789");
    folder_.write("files/deep/page.html", "<p>");
    folder_.write("catalogue.json",
                  R"([{"bundle_id": "org.one", "version": "2", "size": 12, "beta": true,
        "more": null, "list": [1], "no name": "x", "download_link": "/files/app.ZIP"},
        {"bundle_id": "org.two", "notes": "<&\u0001>", "download_link": "https://else.where/x"},
        {"bundle_id": "org.one", "version": "later"}, {"version": "4"}])");
    const std::string command = "; echo $$; exec " REVWARDEN_SERVICE
                                " --listen 127.0.0.1:0"
                                " --catalogue catalogue.json --files files 2> log";
    program_ = popen(("cd '" + folder_.path() + "'" + command).c_str(), "r");
    ASSERT_EQ(fscanf(program_, "%d listening on http://%99s", &process_, address_), 2);
    client_ = std::make_unique<httplib::Client>(std::string("http://") + address_);
    client_->set_read_timeout(20);
    client_->set_url_encode(false);
  }

  void TearDown() override {
    if (process_ > 0) kill(process_, SIGKILL);
    if (program_ != nullptr) pclose(program_);
  }

  std::string answerFor(const std::vector<std::string>& bundleIds) {
    const auto answer = client_->Post("/api/update", request(bundleIds), "");
    return answer && answer->status == 200 ? answer->body : "no answer";
  }

  int statusOf(const std::string& path) {
    const auto answer = client_->Get(path);
    return answer ? answer->status : 0;
  }

  const ScratchFolder folder_;
  FILE* program_ = nullptr;
  int process_ = 0;
  char address_[100];
  std::unique_ptr<httplib::Client> client_;
};

TEST_F(Service, AnswersInTheOrderOfTheRequest) {
  const std::string two =
      "<item><bundle_id>org.two</bundle_id><download_link>https://else.where/x</download_link>"
      "<notes>&lt;&amp;&gt;</notes></item>";
  const std::string one = std::string("<item><beta>true</beta><bundle_id>org.one</bundle_id>") +
                          "<download_link>http://" + address_ + "/files/app.ZIP</download_link>" +
                          "<size>12</size><version>2</version></item>";
  EXPECT_EQ(
      answerFor({"org.two", "org.none", "", "org.one", "org.two"}),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?><response>" + two + one + two + "</response>");
  EXPECT_NE(folder_.read("log").find("\"no name\""), std::string::npos);
  EXPECT_NE(answerFor({}).find("<response/>"), std::string::npos);
}

TEST_F(Service, RefusesInvalidRequests) {
  for (const char* body : {"", "garbage", "<request>", "<response/>", "<request/>junk"}) {
    const auto answer = client_->Post("/api/update", body, "application/x-www-form-urlencoded");
    EXPECT_TRUE(answer && answer->status == 400) << body;
  }
  EXPECT_EQ(statusOf("/api/update"), 405);
  const std::string large(65 << 20, ' ');
  const auto refused = client_->Post("/api/update", large, "text/xml");
  EXPECT_TRUE(refused && refused->status == 413);
  EXPECT_NE(answerFor({"org.one"}).find("org.one"), std::string::npos);
}

TEST_F(Service, ReloadsTheCatalogueAndKeepsTheLastValidOne) {
  EXPECT_NE(answerFor({"org.one"}).find("<version>2<"), std::string::npos);
  const auto replace = [this](const std::string& text) {
    folder_.write("next.json", text);
    fs::rename(folder_.file("next.json"), folder_.file("catalogue.json"));
  };
  replace(R"([{"bundle_id": "org.one", "version": "3"}])");
  EXPECT_NE(answerFor({"org.one"}).find("<version>3<"), std::string::npos);
  for (const char* damaged : {"[{", "{}", "[1]", "", "[{\"bundle_id\": \"\xff\"}]"}) {
    replace(damaged);
    EXPECT_NE(answerFor({"org.one"}).find("<version>3<"), std::string::npos) << damaged;
  }
  EXPECT_NE(folder_.read("log").find("cannot load"), std::string::npos);
}

TEST_F(Service, ServesFilesWithRangesAndTypes) {
  const auto whole = client_->Get("/files/app.ZIP");
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->body, "0123456789");
  EXPECT_EQ(whole->get_header_value("Content-Type"), "application/zip");
  EXPECT_EQ(client_->Head("/files/app.ZIP")->get_header_value("Content-Length"), "10");
  EXPECT_EQ(client_->Get("/files/deep/page.html")->get_header_value("Content-Type"), "text/html");
  using Ranges = std::vector<std::tuple<std::string, int, std::string>>;
  const Ranges ranges = {{"2-4", 206, "234"},        {"7-", 206, "789"},
                         {"-3", 206, "789"},         {"8-99", 206, "89"},
                         {"10-", 416, ""},           {"-0", 416, ""},
                         {"-99", 206, "0123456789"}, {"0-1,4-5", 200, "0123456789"}};
  for (const auto& [range, status, body] : ranges) {
    const auto part = client_->Get("/files/app.ZIP", {{"Range", "bytes=" + range}});
    ASSERT_TRUE(part) << range;
    EXPECT_EQ(part->status, status) << range;
    EXPECT_EQ(part->body, body) << range;
  }
}

TEST_F(Service, ServesNoFileOutsideItsFolder) {
  fs::create_directory_symlink(folder_.path(), folder_.file("files/up"));
  fs::create_directory_symlink("..", folder_.file("files/deep/over"));
  fs::create_symlink("../../secret.txt", folder_.file("files/deep/link"));
  fs::create_symlink("deep/page.html", folder_.file("files/inside"));
  mkfifo(folder_.file("files/fifo").c_str(), 0600);
  EXPECT_EQ(statusOf("/files/inside"), 200);
  EXPECT_EQ(statusOf("/files/deep/over/app.ZIP"), 200);
  for (const std::string path :
       {"../secret.txt", "%2e%2e/secret.txt", "deep/../../secret.txt", "..%2fsecret.txt",
        "up/secret.txt", "deep/link", "deep/over/../secret.txt", "/etc/hostname",
        "%2fetc%2fhostname", "app.ZIP%00.html", "fifo", "deep", "", "none"}) {
    EXPECT_EQ(statusOf("/files/" + path), 404) << path;
  }
}

}  // namespace
}  // namespace revwarden

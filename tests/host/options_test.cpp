#include "host/options.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace revwarden {
namespace {

ParsedOptions parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "revwarden-agent");
  return parseOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(Options, ChoicesAreWordsAndTheCautiousOnesAreTheDefault) {
  const auto plain = parse({}).options;
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->authorization, Authorization::ask);
  EXPECT_EQ(plain->notices, NoticePlace::desktop);
  EXPECT_EQ(plain->logLevel, LogLevel::warning);
  EXPECT_FALSE(plain->tools);
  const auto chosen = parse({"--authorization", "never", "--notices=socket", "--tools", "t/",
                             "--log-level", "debug"})
                          .options;
  ASSERT_TRUE(chosen);
  EXPECT_EQ(chosen->authorization, Authorization::never);
  EXPECT_EQ(chosen->notices, NoticePlace::socket);
  EXPECT_EQ(chosen->logLevel, LogLevel::debug);
  EXPECT_EQ(chosen->tools, std::filesystem::current_path() / "t");
  for (const char* word : {"--authorization=Always", "--authorization=ask|always",
                           "--authorization=", "--authorization"}) {
    const ParsedOptions refused = parse({word});
    EXPECT_FALSE(refused.options) << word;
    EXPECT_EQ(refused.exitStatus, 2) << word;
  }
}

}  // namespace
}  // namespace revwarden

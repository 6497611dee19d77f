#include "host/options.h"

#include <gtest/gtest.h>

namespace revwarden {
namespace {

ParsedOptions parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "revwarden-agent");
  return parseOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(Options, ChoicesAreWordsAndTheUserIsAskedUnlessToldOtherwise) {
  EXPECT_EQ(parse({}).options->authorization, Authorization::ask);
  EXPECT_EQ(parse({}).options->notices, NoticePlace::desktop);
  const Options chosen = *parse({"--authorization", "never", "--log-level=debug"}).options;
  EXPECT_EQ(chosen.authorization, Authorization::never);
  EXPECT_EQ(chosen.logLevel, LogLevel::debug);
  for (const char* wrong : {"--authorization=Always", "--authorization=ask|always"}) {
    EXPECT_FALSE(parse({wrong}).options) << wrong;
    EXPECT_EQ(parse({wrong}).exitStatus, 2) << wrong;
  }
}

}  // namespace
}  // namespace revwarden

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "host/json_rpc.h"
#include "host/json_values.h"

namespace revwarden {
namespace {

using Json = nlohmann::json;

TEST(JsonValues, EveryTypeTravelsAsClientsReadIt) {
  const Value record = Dictionary{{"flag", true},
                                  {"bytes", int64_t{-1}},
                                  {"real", 10.0},
                                  {"text", "a\"\n\xc3\xa9"},
                                  {"stray", std::string("x\xff", 2)},
                                  {"data", Data{std::string("\0\xff", 2)}},
                                  {"list", Array({Value(1), Value(Dictionary{})})}};
  EXPECT_EQ(jsonText(record),
            "{\"bytes\":-1,\"data\":\"AP8=\",\"flag\":true,\"list\":[1,{}],\"real\":10.0,"
            "\"stray\":\"x\xef\xbf\xbd\",\"text\":\"a\\\"\\n\xc3\xa9\"}");
}

TEST(JsonValues, DatesKeepTheirFraction) {
  EXPECT_EQ(rfc3339(Date{1700000000.1}), "2023-11-14T22:13:20.1Z");
  EXPECT_EQ(rfc3339(Date{1699999999.9999998}), "2023-11-14T22:13:19.9999998Z");
  EXPECT_EQ(rfc3339(Date{-0.5}), "1969-12-31T23:59:59.5Z");
  EXPECT_EQ(rfc3339(Date{1e300}), "9999-12-31T23:59:59Z");
  EXPECT_EQ(rfc3339(Date{std::numeric_limits<double>::quiet_NaN()}), "1970-01-01T00:00:00Z");
}

class Rpc : public testing::Test {
 protected:
  Rpc() {
    methods_["add"] = taking<uint64_t, bool>(
        [](uint64_t number, bool twice) { return std::to_string(twice ? 2 * number : number); });
  }
  Json answer(const std::string& line) {
    const auto reply = answerLine(line, methods_);
    return reply ? Json::parse(*reply) : Json();
  }
  int errorOf(const std::string& line) {
    const Json reply = answer(line);
    return reply.contains("error") ? reply["error"]["code"].get<int>() : 0;
  }
  RpcMethods methods_;
};

TEST_F(Rpc, WrongParametersAndTooDeepOnesAreRefused) {
  for (const char* params : {"[]", "[1]", "[1,true,2]", "[true,1]", "[1.5,true]", "[-1,true]",
                             "[null,true]", R"(["1",true])", R"({"number":1,"twice":true})"}) {
    const std::string line = R"({"jsonrpc":"2.0","id":1,"method":"add","params":)";
    EXPECT_EQ(errorOf(line + params + "}"), kRpcInvalidParams) << params;
  }
  // Neither parsing nor freeing it may exhaust the stack.
  EXPECT_EQ(errorOf(std::string(1 << 18, '[')), kRpcParseError);
  EXPECT_EQ(answer(std::string(1 << 18, '[') + std::string(1 << 18, ']'))[0]["error"]["code"],
            kRpcInvalidRequest);
}

TEST_F(Rpc, RequestsAndBatchesAreAnsweredUnderTheirIds) {
  EXPECT_FALSE(answerLine(R"({"jsonrpc":"2.0","method":"add","params":[4,true]})", methods_));
  const Json replies = answer(
      R"([{"jsonrpc":"2.0","id":"x","method":"add","params":[4,true]},7,
          {"jsonrpc":"2.0","method":"add","params":[1,false]},
          {"jsonrpc":"2.0","id":2,"method":"nothing"}])");
  ASSERT_EQ(replies.size(), 3u);
  EXPECT_EQ(replies[0], Json({{"jsonrpc", "2.0"}, {"id", "x"}, {"result", 8}}));
  EXPECT_EQ(replies[1]["error"]["code"], kRpcInvalidRequest);
  EXPECT_EQ(replies[2]["error"]["code"], kRpcMethodNotFound);

  int performed = 0;
  methods_["large"] = [&](const Json&) { return ++performed, jsonText(std::string(9 << 20, 'x')); };
  const Json large = answer(Json(100, {{"jsonrpc", "2.0"}, {"id", 1}, {"method", "large"}}).dump());
  EXPECT_EQ(performed, 8);
  EXPECT_EQ(large.back()["error"]["code"], kRpcBatchTooLarge);
}

}  // namespace
}  // namespace revwarden

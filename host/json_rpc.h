#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// JSON-RPC 2.0, apart from how its messages travel.
namespace revwarden {

struct RpcError {
  int code;
  std::string message;
};

inline constexpr int kRpcParseError = -32700;
inline constexpr int kRpcInvalidRequest = -32600;
inline constexpr int kRpcMethodNotFound = -32601;
inline constexpr int kRpcInvalidParams = -32602;

/// What a method answers: JSON text, or why there is none.
using RpcResult = std::variant<std::string, RpcError>;

/// A method; `params` is its list of parameters, empty when the request names none.
using RpcMethod = std::function<RpcResult(const nlohmann::json& params)>;
using RpcMethods = std::map<std::string, RpcMethod, std::less<>>;

/// More requests in one batch than these are refused.
inline constexpr size_t kMaximumBatch = 10'000;

/// The requests of a batch that come after this many bytes of replies are not performed.
inline constexpr size_t kMaximumBatchReply = 64 << 20;
inline constexpr int kRpcBatchTooLarge = -32000;

/// Performs the request, or the batch of requests, that a line holds, and gives the line of the
/// reply, without its line break. Absent when there is nothing to reply to.
std::optional<std::string> answerLine(std::string_view line, const RpcMethods& methods);

/// The reply to what cannot even be read as a request.
std::string rpcErrorReply(const RpcError& error);

/// A notification, without its line break; `params` is a JSON list.
std::string rpcNotification(std::string_view method, std::string_view params);

}  // namespace revwarden

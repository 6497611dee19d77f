#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

// JSON-RPC 2.0, independent of how its messages travel.
namespace revwarden {

struct RpcError {
  int code;
  std::string message;
};

inline constexpr int kRpcParseError = -32700;
inline constexpr int kRpcInvalidRequest = -32600;
inline constexpr int kRpcMethodNotFound = -32601;
inline constexpr int kRpcInvalidParams = -32602;

/// The result of a method as JSON text, or the error.
using RpcResult = std::variant<std::string, RpcError>;

/// A method. `params` is a JSON array, empty if the request has none.
using RpcMethod = std::function<RpcResult(const nlohmann::json& params)>;
using RpcMethods = std::map<std::string, RpcMethod, std::less<>>;

/// A batch with more requests is refused.
inline constexpr size_t kMaximumBatch = 10'000;

/// Once the replies to a batch exceed this many bytes, its other requests get an error.
inline constexpr size_t kMaximumBatchReply = 64 << 20;
inline constexpr int kRpcBatchTooLarge = -32000;

/// Performs the request or batch in `line` and returns the reply without a line break. Returns
/// nothing for notifications.
std::optional<std::string> answerLine(std::string_view line, const RpcMethods& methods);

/// Returns the reply to a line that is no request.
std::string rpcErrorReply(const RpcError& error);

/// Returns a notification without a line break. `params` is the text of a JSON array.
std::string rpcNotification(std::string_view method, std::string_view params);

/// Reads a parameter of a method; absent if it is of another type.
template <typename T>
std::optional<T> rpcParameter(const nlohmann::json& json) {
  if constexpr (std::is_same_v<T, std::vector<std::string>>) {
    T texts;
    for (const nlohmann::json& element : json) {
      if (!element.is_string()) return std::nullopt;
      texts.push_back(element.get<std::string>());
    }
    return json.is_array() ? std::optional(std::move(texts)) : std::nullopt;
  } else {
    const bool fits = std::is_same_v<T, bool>          ? json.is_boolean()
                      : std::is_same_v<T, std::string> ? json.is_string()
                                                       : json.is_number_unsigned();
    return fits ? std::optional(json.get<T>()) : std::nullopt;
  }
}

/// Returns a method that passes exactly these parameters to `operation` as C++ values: bool,
/// std::string, uint64_t or std::vector<std::string>. Other parameters are an error, and
/// `operation` is not called.
template <typename... Parameters, typename Operation>
RpcMethod taking(Operation operation) {
  return [operation](const nlohmann::json& params) -> RpcResult {
    if (params.size() != sizeof...(Parameters)) {
      return RpcError{kRpcInvalidParams,
                      "Invalid params: expected " + std::to_string(sizeof...(Parameters))};
    }
    return [&]<size_t... I>(std::index_sequence<I...>)->RpcResult {
      [[maybe_unused]] const auto values = std::make_tuple(rpcParameter<Parameters>(params[I])...);
      if (!(std::get<I>(values).has_value() && ...)) {
        return RpcError{kRpcInvalidParams, "Invalid params: one has the wrong type"};
      }
      return operation(*std::get<I>(values)...);
    }
    (std::index_sequence_for<Parameters...>());
  };
}

}  // namespace revwarden

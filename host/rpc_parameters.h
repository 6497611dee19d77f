#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/json_rpc.h"

// Checks the parameters of JSON-RPC methods and hands them over as C++ values.
namespace revwarden {

inline bool readParameter(const nlohmann::json& json, bool& value) {
  if (json.is_boolean()) value = json.get<bool>();
  return json.is_boolean();
}

inline bool readParameter(const nlohmann::json& json, std::string& value) {
  if (json.is_string()) value = json.get<std::string>();
  return json.is_string();
}

inline bool readParameter(const nlohmann::json& json, uint64_t& value) {
  if (json.is_number_unsigned()) value = json.get<uint64_t>();
  return json.is_number_unsigned();
}

inline bool readParameter(const nlohmann::json& json, std::vector<std::string>& value) {
  if (!json.is_array()) return false;
  for (const nlohmann::json& element : json) {
    if (!readParameter(element, value.emplace_back())) return false;
  }
  return true;
}

/// A method that takes exactly these parameters (bool, std::string, uint64_t or a list of texts);
/// every other list of them is an error, and `operation` is not performed.
template <typename... Parameters, typename Operation>
RpcMethod taking(Operation operation) {
  return [operation](const nlohmann::json& params) -> RpcResult {
    std::tuple<Parameters...> values;
    const auto read = [&]<size_t... I>(std::index_sequence<I...>) {
      return (readParameter(params[I], std::get<I>(values)) && ...);
    };
    if (params.size() != sizeof...(Parameters)) {
      return RpcError{kRpcInvalidParams,
                      "Invalid params: expected " + std::to_string(sizeof...(Parameters))};
    }
    if (!read(std::index_sequence_for<Parameters...>())) {
      return RpcError{kRpcInvalidParams, "Invalid params: one is of the wrong type"};
    }
    return std::apply(operation, std::move(values));
  };
}

}  // namespace revwarden

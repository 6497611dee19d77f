#include "host/json_rpc.h"

#include "host/json_values.h"

namespace revwarden {
namespace {

using nlohmann::json;

std::string reply(const json& id, const RpcResult& result) {
  std::string out = "{\"jsonrpc\":\"2.0\",\"id\":" + id.dump();
  if (const auto* text = std::get_if<std::string>(&result)) {
    (out += ",\"result\":").append(*text);
  } else {
    const RpcError& error = std::get<RpcError>(result);
    out += ",\"error\":{\"code\":" + std::to_string(error.code) +
           ",\"message\":" + jsonText(error.message) + '}';
  }
  return out += '}';
}

const json* find(const json& object, const char* key) {
  const auto member = object.find(key);
  return member == object.end() ? nullptr : &*member;
}

bool isRequest(const json& message) {
  if (!message.is_object()) return false;
  const json* version = find(message, "jsonrpc");
  const json* method = find(message, "method");
  const json* params = find(message, "params");
  const json* id = find(message, "id");
  return version && *version == "2.0" && method && method->is_string() &&
         (!params || params->is_structured()) &&
         (!id || id->is_string() || id->is_number() || id->is_null());
}

RpcResult perform(const json& request, const RpcMethods& methods) {
  const auto& name = find(request, "method")->get_ref<const std::string&>();
  const auto method = methods.find(name);
  if (method == methods.end()) return RpcError{kRpcMethodNotFound, "Method not found: " + name};
  const json* params = find(request, "params");
  if (params && !params->is_array()) {
    return RpcError{kRpcInvalidParams, "Invalid params: expected a list, by position"};
  }
  return method->second(params ? *params : json::array());
}

std::optional<std::string> answer(const json& message, const RpcMethods& methods,
                                  bool tooMuch = false) {
  if (!isRequest(message)) return rpcErrorReply({kRpcInvalidRequest, "Invalid Request"});
  const RpcResult result =
      tooMuch ? RpcError{kRpcBatchTooLarge, "Not performed: the replies to the batch are too long"}
              : perform(message, methods);
  const json* id = find(message, "id");
  if (!id) return std::nullopt;
  return reply(*id, result);
}

std::optional<std::string> answerBatch(const json& batch, const RpcMethods& methods) {
  if (batch.empty()) return rpcErrorReply({kRpcInvalidRequest, "Invalid Request: an empty batch"});
  if (batch.size() > kMaximumBatch) {
    return rpcErrorReply({kRpcInvalidRequest, "Invalid Request: too long a batch"});
  }
  std::vector<std::string> replies;
  size_t bytes = 0;
  for (const json& message : batch) {
    auto text = answer(message, methods, bytes > kMaximumBatchReply);
    if (!text) continue;
    bytes += text->size();
    replies.push_back(std::move(*text));
  }
  if (replies.empty()) return std::nullopt;
  return jsonList(replies);
}

}  // namespace

std::optional<std::string> answerLine(std::string_view line, const RpcMethods& methods) {
  const json message = json::parse(line.begin(), line.end(), nullptr, false);
  if (message.is_discarded()) return rpcErrorReply({kRpcParseError, "Parse error"});
  return message.is_array() ? answerBatch(message, methods) : answer(message, methods);
}

std::string rpcErrorReply(const RpcError& error) {
  return reply(nullptr, error);
}

std::string rpcNotification(std::string_view method, std::string_view params) {
  std::string out = "{\"jsonrpc\":\"2.0\",\"method\":" + jsonText(method) + ",\"params\":";
  return out.append(params) += '}';
}

}  // namespace revwarden

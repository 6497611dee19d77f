#include "service/routes.h"

#include <string>

namespace revwarden {
namespace {

using httplib::Request;
using httplib::Response;
using HandlerResponse = httplib::Server::HandlerResponse;

// Returns the method that a path allows, "" if nothing is served there.
std::string allowedAt(const std::string& path) {
  if (path == kUpdatePath) return "POST";
  return path.starts_with(kFilesPath) ? "GET" : "";
}

void refuse(const Request& request, Response& response) {
  const std::string allowed = allowedAt(request.path);
  response.status = allowed.empty() ? 404 : 405;
  if (allowed.empty()) return;
  response.set_header("Allow", allowed);
  response.set_content("Only " + allowed + " is allowed here.\n", "text/plain");
}

// Returns true if the library should read a body before it calls a handler. Without a length it
// would wait until the connection is closed, although such a request has no body.
bool hasBody(const Request& request) {
  const std::string& method = request.method;
  const bool mayHaveBody =
      method == "POST" || method == "PUT" || method == "PATCH" || method == "DELETE";
  return mayHaveBody &&
         (request.has_header("Content-Length") || request.has_header("Transfer-Encoding"));
}

HandlerResponse refuseWithoutBody(const Request& request, Response& response) {
  if (hasBody(request)) return HandlerResponse::Unhandled;
  const std::string allowed = allowedAt(request.path);
  const bool reads = request.method == "GET" || request.method == "HEAD";
  if (reads && allowed != "POST") return HandlerResponse::Unhandled;
  if (request.method == allowed) {
    response.status = 400;
    response.set_content("The request has no body.\n", "text/plain");
  } else {
    refuse(request, response);
  }
  return HandlerResponse::Handled;
}

// The library answers 400 to a method that it does not know, without parsing the path.
void refuseUnknownMethod(const Request& request, Response& response) {
  if (response.status == 400 && request.path.empty() && request.target == kUpdatePath) {
    response.status = 405;
    response.set_header("Allow", "POST");
  }
}

}  // namespace

void refuseOtherMethods(httplib::Server& server) {
  server.set_pre_routing_handler(refuseWithoutBody);
  server.set_error_handler(refuseUnknownMethod);
  const httplib::Server::Handler afterBody = refuse;
  server.Put(".*", afterBody);
  server.Patch(".*", afterBody);
  server.Delete(".*", afterBody);
  server.Post(std::string(kFilesPath) + ".*", afterBody);
}

}  // namespace revwarden

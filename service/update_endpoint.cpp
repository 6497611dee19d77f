#include "service/update_endpoint.h"

#include <algorithm>
#include <utility>

#include "service/routes.h"

namespace revwarden {
namespace {

constexpr const char* kInvalid = "The body is not an update request.\n";

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isLetterOrDigit(char c) {
  return isLetter(c) || (c >= '0' && c <= '9');
}

bool isHost(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return isLetterOrDigit(c) || std::string_view(".-_:[]").find(c) != std::string_view::npos;
  });
}

bool hasScheme(std::string_view link) {
  const auto end = std::find_if_not(link.begin(), link.end(), [](char c) {
    return isLetterOrDigit(c) || c == '+' || c == '-' || c == '.';
  });
  return end != link.end() && *end == ':' && isLetter(link.front());
}

std::string absoluteLink(const std::string& link, std::string_view host) {
  if (link.empty() || hasScheme(link)) return link;
  if (link.starts_with("//")) return "http:" + link;
  return "http://" + std::string(host) + (link.front() == '/' ? "" : "/") + link;
}

std::string bundleIdOf(const XmlElement& item) {
  for (const XmlElement& field : item.children) {
    if (field.name == "bundleId") return field.stringValue();
  }
  return "";
}

XmlElement itemOf(const Catalogue::Fields& fields, std::string_view host) {
  XmlElement item;
  item.name = "item";
  item.children.reserve(fields.size());
  for (const auto& [name, value] : fields) {
    XmlElement& field = item.children.emplace_back();
    field.name = name;
    field.text = name == "download_link" ? absoluteLink(value, host) : value;
  }
  return item;
}

void refuse(httplib::Response& response, int status, const char* why) {
  response.status = status;
  response.set_content(why, "text/plain");
}

}  // namespace

UpdateEndpoint::UpdateEndpoint(Catalogue& catalogue, const XmlDocuments& documents,
                               std::string ownAddress)
    : catalogue_(catalogue), documents_(documents), ownAddress_(std::move(ownAddress)) {}

void UpdateEndpoint::addTo(httplib::Server& server) {
  server.set_payload_max_length(kLargestRequest);
  server.Post(kUpdatePath,
              [this](const httplib::Request& request, httplib::Response& response,
                     const httplib::ContentReader& reader) { serve(request, response, reader); });
}

void UpdateEndpoint::serve(const httplib::Request& request, httplib::Response& response,
                           const httplib::ContentReader& reader) const {
  if (request.is_multipart_form_data()) return refuse(response, 400, kInvalid);
  std::string body;
  bool tooLarge = false;
  // Read an oversized body to its end and drop it: the client reads the answer only after it has
  // sent everything.
  const bool whole = reader([&](const char* bytes, size_t count) {
    tooLarge = tooLarge || count > kLargestRequest - body.size();
    if (!tooLarge) body.append(bytes, count);
    return true;
  });
  if (tooLarge || response.status == 413) {
    return refuse(response, 413, "The request is too large.\n");
  }
  const std::string host = request.get_header_value("Host");
  auto document = whole ? answer(body, isHost(host) ? host : ownAddress_) : std::nullopt;
  if (!document) return refuse(response, 400, kInvalid);
  response.body = std::move(*document);
  response.set_header("Content-Type", "application/xml");
}

std::optional<std::string> UpdateEndpoint::answer(std::string_view body,
                                                  std::string_view host) const {
  const auto result = documents_.parse(body);
  const XmlElement* request = result ? &*result : nullptr;
  if (request == nullptr || request->name != "request") return std::nullopt;
  const auto entries = catalogue_.entries();
  XmlElement response;
  response.name = "response";
  for (const XmlElement& item : request->children) {
    if (item.name != "item") continue;
    const auto entry = entries->find(bundleIdOf(item));
    if (entry != entries->end()) response.children.push_back(itemOf(entry->second, host));
  }
  return documents_.xmlData(response);
}

}  // namespace revwarden

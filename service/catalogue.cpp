#include "service/catalogue.h"

#include <libxml/tree.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>

#include "base/result.h"
#include "ports/posix/system_error.h"
#include "service/log.h"

namespace revwarden {
namespace {

using nlohmann::json;

bool isXmlName(const std::string& name) {
  return name.find('\0') == std::string::npos &&
         xmlValidateNCName(reinterpret_cast<const xmlChar*>(name.c_str()), 0) == 0;
}

std::optional<std::string> textOf(const json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number() || value.is_boolean()) return value.dump();
  return std::nullopt;
}

void logSkipped(const std::string& bundleId, std::string_view what, const std::string& name) {
  logLine("catalogue: " + bundleId + ": skipped \"" + name + "\": " + std::string(what));
}

Catalogue::Fields fieldsOf(const json& object, const std::string& bundleId) {
  Catalogue::Fields fields;
  fields.reserve(object.size());
  for (const auto& [name, value] : object.items()) {
    if (value.is_null()) continue;
    auto text = textOf(value);
    if (!text) {
      logSkipped(bundleId, "the value is a list or an object", name);
    } else if (!isXmlName(name)) {
      logSkipped(bundleId, "not a valid XML name", name);
    } else {
      fields.emplace_back(name, std::move(*text));
    }
  }
  return fields;
}

std::string bundleIdOf(const json& object) {
  const auto id = object.find("bundle_id");
  return id != object.end() && id->is_string() ? id->get<std::string>() : "";
}

void addEntry(const json& object, size_t index, Catalogue::Entries& entries) {
  const std::string bundleId = bundleIdOf(object);
  if (bundleId.empty()) {
    logLine("catalogue: skipped entry " + std::to_string(index) + ": it has no \"bundle_id\"");
  } else if (entries.contains(bundleId)) {
    logLine("catalogue: skipped entry " + std::to_string(index) + ": duplicate of " + bundleId);
  } else {
    entries.emplace(bundleId, fieldsOf(object, bundleId));
  }
}

Result<std::shared_ptr<const Catalogue::Entries>> parse(const std::string& text) {
  const json list = json::parse(text, nullptr, false);
  if (list.is_discarded()) return Error{"", "it is not JSON"};
  if (!list.is_array()) return Error{"", "it is not a list"};
  auto entries = std::make_shared<Catalogue::Entries>();
  for (size_t i = 0; i < list.size(); ++i) {
    if (!list[i].is_object()) return Error{"", "entry " + std::to_string(i) + " is not an object"};
    addEntry(list[i], i, *entries);
  }
  return {std::move(entries)};
}

Result<std::shared_ptr<const Catalogue::Entries>> load(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return systemError();
  std::ostringstream text;
  text << file.rdbuf();
  return parse(text.str());
}

bool sameMoment(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool sameState(const std::optional<struct stat>& a, const std::optional<struct stat>& b) {
  if (!a || !b) return !a && !b;
  return a->st_dev == b->st_dev && a->st_ino == b->st_ino && a->st_size == b->st_size &&
         sameMoment(a->st_mtim, b->st_mtim) && sameMoment(a->st_ctim, b->st_ctim);
}

}  // namespace

std::shared_ptr<const Catalogue::Entries> Catalogue::entries() {
  const std::lock_guard lock(mutex_);
  std::optional<struct stat> now(std::in_place);
  if (stat(path_.c_str(), &*now) != 0) now.reset();
  if (!everRead_ || !sameState(now, state_)) {
    state_ = now;
    everRead_ = true;
    reload();
  }
  return entries_;
}

void Catalogue::reload() {
  const auto loaded = load(path_);
  if (loaded) entries_ = *loaded;
  const std::string count = std::to_string(entries_->size()) + " applications";
  logLine(loaded ? "catalogue: offers for " + count
                 : "catalogue: cannot load " + path_ + ": " + loaded.error().message +
                       "; keeping the offers for " + count);
}

}  // namespace revwarden

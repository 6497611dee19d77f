#include "ports/macos/platform/system_proxies.h"

#ifdef __APPLE__
#include <CFNetwork/CFNetwork.h>
#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

namespace revwarden {
namespace {

struct Release {
  void operator()(CFTypeRef object) const { CFRelease(object); }
};
template <typename Ref>
using Owned = std::unique_ptr<std::remove_pointer_t<Ref>, Release>;

CFTypeRef valueOf(CFDictionaryRef entry, CFStringRef key, CFTypeID type) {
  const CFTypeRef value = CFDictionaryGetValue(entry, key);
  return value && CFGetTypeID(value) == type ? value : nullptr;
}

std::string textOf(CFDictionaryRef entry, CFStringRef key) {
  const auto text = static_cast<CFStringRef>(valueOf(entry, key, CFStringGetTypeID()));
  if (!text) return "";
  const CFIndex size =
      CFStringGetMaximumSizeForEncoding(CFStringGetLength(text), kCFStringEncodingUTF8) + 1;
  std::string bytes(static_cast<size_t>(size), '\0');
  if (!CFStringGetCString(text, bytes.data(), size, kCFStringEncodingUTF8)) return "";
  return bytes.c_str();  // up to the first zero
}

std::string portOf(CFDictionaryRef entry) {
  int port = 0;
  const auto number =
      static_cast<CFNumberRef>(valueOf(entry, kCFProxyPortNumberKey, CFNumberGetTypeID()));
  if (!number || !CFNumberGetValue(number, kCFNumberIntType, &port) || port <= 0) return "";
  return ":" + std::to_string(port);
}

std::string hostOf(CFDictionaryRef entry) {
  std::string host = textOf(entry, kCFProxyHostNameKey);
  const bool isBareIPv6 = host.find(':') != host.npos && host.front() != '[';
  return isBareIPv6 ? "[" + host + "]" : host;
}

std::optional<std::string> addressOf(CFDictionaryRef entry) {
  const std::string host = hostOf(entry);
  const CFTypeRef type = valueOf(entry, kCFProxyTypeKey, CFStringGetTypeID());
  const auto is = [&](CFStringRef kind) { return type && CFEqual(type, kind); };
  if (is(kCFProxyTypeNone)) return "";
  if (host.empty()) return std::nullopt;
  // The type names the traffic that goes through the proxy, not the proxy's protocol: an HTTPS
  // proxy is an HTTP proxy, too.
  if (is(kCFProxyTypeHTTP) || is(kCFProxyTypeHTTPS)) return "http://" + host + portOf(entry);
  if (is(kCFProxyTypeSOCKS)) return "socks5h://" + host + portOf(entry);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> systemProxyFor(const std::string& url) {
  const Owned<CFURLRef> address(
      CFURLCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(url.data()),
                           static_cast<CFIndex>(url.size()), kCFStringEncodingUTF8, nullptr));
  const Owned<CFDictionaryRef> settings(CFNetworkCopySystemProxySettings());
  if (!address || !settings) return std::nullopt;
  const Owned<CFArrayRef> proxies(CFNetworkCopyProxiesForURL(address.get(), settings.get()));
  if (!proxies || CFArrayGetCount(proxies.get()) == 0) return std::nullopt;
  return addressOf(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(proxies.get(), 0)));
}

}  // namespace revwarden

#endif

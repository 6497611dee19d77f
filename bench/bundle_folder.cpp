#include "bench/bundle_folder.h"

#include <plist/plist.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace revwarden::bench {
namespace {

std::string documentType(size_t number) {
  const std::string n = std::to_string(number);
  return "<dict><key>CFBundleTypeExtensions</key><array><string>doc" + n + "</string><string>tpl" +
         n + "</string></array><key>CFBundleTypeIconFile</key><string>Document" + n +
         ".icns</string><key>CFBundleTypeName</key><string>Document Type " + n +
         "</string><key>CFBundleTypeRole</key><string>Editor</string><key>LSItemContentTypes</key>"
         "<array><string>org.example.type" +
         n + "</string></array><key>NSDocumentClass</key><string>Document</string></dict>\n";
}

std::string infoPlist(size_t number) {
  const std::string n = std::to_string(number);
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST "
      "1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n"
      "<dict>\n<key>BuildMachineOSBuild</key><string>16A" +
      n + "</string>\n<key>CFBundleDevelopmentRegion</key><string>English</string>\n" +
      "<key>CFBundleDocumentTypes</key><array>\n";
  for (size_t i = 0; i < 3 + number % 5; ++i) text += documentType(i);
  text += "</array>\n<key>CFBundleExecutable</key><string>Application " + n +
          "</string>\n<key>CFBundleIdentifier</key><string>org.example.application" + n +
          "</string>\n<key>CFBundleInfoDictionaryVersion</key><string>6.0</string>\n"
          "<key>CFBundleName</key><string>Application " +
          n +
          "</string>\n<key>CFBundlePackageType</key><string>APPL</string>\n"
          "<key>CFBundleShortVersionString</key><string>1." +
          n + "</string>\n<key>CFBundleVersion</key><string>" + std::to_string(1000 + number) +
          "</string>\n<key>LSMinimumSystemVersion</key><string>10.6</string>\n"
          "<key>NSHighResolutionCapable</key><true/>\n<key>NSHumanReadableCopyright</key>"
          "<string>Copyright &#169; Example &amp; Co.</string>\n"
          "<key>NSPrincipalClass</key><string>NSApplication</string>\n</dict>\n</plist>\n";
  return text;
}

std::string asBinary(const std::string& xml) {
  plist_t list = nullptr;
  plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &list);
  char* bytes = nullptr;
  uint32_t length = 0;
  plist_to_bin(list, &bytes, &length);
  std::string binary(bytes, length);
  free(bytes);
  plist_free(list);
  return binary;
}

}  // namespace

BundleFolder::BundleFolder(size_t count) {
  // Not in the temporary folder: the agent excludes applications there.
  std::string pattern = "/var/tmp/bench-revwarden.XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot create a folder for the bundles");
  path_ = pattern;
  for (size_t i = 0; i < count; ++i) {
    const std::string bundle = path_ + "/Application " + std::to_string(i) + ".app";
    std::filesystem::create_directories(bundle + "/Contents");
    const std::string xml = infoPlist(i);
    std::ofstream(bundle + "/Contents/Info.plist", std::ios::binary)
        << (i % 4 == 3 ? asBinary(xml) : xml);
    bundles_.push_back(bundle);
  }
}

BundleFolder::~BundleFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace revwarden::bench

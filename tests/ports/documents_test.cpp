#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "base/text.h"
#include "ports/linux/bundles/linux_bundles.h"
#include "ports/posix/libxml_documents.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;

std::string repeated(std::string_view text, size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i) result += text;
  return result;
}

/// The root's text, or "error: " and the reason.
std::string textOf(std::string_view document) {
  const auto result = LibxmlDocuments().parse(document);
  return result ? result->stringValue() : "error: " + result.error().message;
}

TEST(XmlDocuments, RefuseWhatIsNotWellFormedOrTooMuch) {
  std::string names;
  for (int i = 0; i < 300'000; ++i) names += " a" + std::to_string(i) + "=''";
  for (const std::string& document :
       {""s, "junk"s, "<a>"s, "<a></b>"s, "<a/>junk"s, "<a>\x01</a>"s, "<a>&none;</a>"s,
        "<a b='1' b='2'/>"s, "<a>"s + '\0' + "</a>", "<a>\xED\xA0\x80</a>"s,
        repeated("<a>", 257) + repeated("</a>", 257), "<a" + names + "/>"}) {
    const std::string answer = textOf(document);
    EXPECT_TRUE(answer.starts_with("error: ")) << document.substr(0, 40);
    EXPECT_EQ(answer.find('\n'), answer.npos);
  }
  EXPECT_EQ(textOf(repeated("<a>", 256) + "x" + repeated("</a>", 256)), "x");
  EXPECT_THAT(textOf("<a>\n\n<b></a>"), HasSubstr("line 3"));
}

TEST(XmlDocuments, ReplaceHarmlessEntitiesOnly) {
  EXPECT_EQ(textOf("<!DOCTYPE a [<!ENTITY n 'Name &amp; <b>&#233;</b>'><!ENTITY m '&n;!'>]>"
                   "<a>&m;&m;</a>"),
            "Name & \xC3\xA9!Name & \xC3\xA9!");
  std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'ha'>";
  for (int i = 1; i < 30; ++i) {
    const std::string earlier = "&e" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY e" + std::to_string(i) + " '" + repeated(earlier, 10) + "'>";
  }
  const std::string wide = "<!DOCTYPE a [<!ENTITY e '" + std::string(100'000, 'x') + "'>]>";
  for (const std::string& document :
       {bomb + "]><a>&e29;</a>", bomb + "]><a k='&e29;'/>",
        wide + "<a>" + repeated("&e;", 99'999) + "</a>",
        "<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a k='&e;'/>"s,
        "<!DOCTYPE a [<!ENTITY e '<b>'>]><a>&e;</b></a>"s})
    EXPECT_THAT(textOf(document), HasSubstr("error: ")) << document.substr(0, 60);
}

TEST(XmlDocuments, ReadNothingFromOutside) {
  const ScratchFolder folder;
  folder.write("secret", "<!ENTITY e 'secret'>");
  const std::string from = " SYSTEM 'file://" + folder.file("secret") + "'";
  for (const std::string& document : {"<!DOCTYPE a [<!ENTITY e" + from + ">]><a>&e;</a>",
                                      "<!DOCTYPE a [<!ENTITY % p" + from + "> %p;]><a>&e;</a>",
                                      "<!DOCTYPE a" + from + "><a>&e;</a>"})
    EXPECT_THAT(textOf(document), HasSubstr("error: "));
  EXPECT_EQ(textOf("<!DOCTYPE a" + from + "><a>x</a>"), "x");
}

TEST(XmlDocuments, WriteWhatReadsBack) {
  const XmlElement child{"b", {{"k", "<\"&\t\n\r'>"}}, "]]> a<b>&\r\n\t\"'\xC3\xA9", {}, " tail\r"};
  const XmlElement root{"root", {}, "", {child}, ""};
  const auto read = LibxmlDocuments().parse(LibxmlDocuments().xmlData(root)).value();
  EXPECT_EQ(read.children.at(0).text, child.text);
  EXPECT_EQ(read.children.at(0).tail, child.tail);
  EXPECT_EQ(read.children.at(0).attributes, child.attributes);

  // Whatever bytes come in, the document is sound, and holds those that are characters.
  std::string bytes;
  for (int first = 0; first < 256; ++first) {
    for (const char* rest : {"", "x", "\x80", "\xBF\xBE", "\xA0\x80", "\x90\x80\x80"})
      bytes += static_cast<char>(first) + std::string(rest);
  }
  const std::string all = LibxmlDocuments().xmlData({"na me", {{"1", bytes}}, bytes, {}, ""});
  EXPECT_TRUE(isValidUtf8(all));
  EXPECT_THAT(textOf(all), HasSubstr("\xF0\x90\x80\x80"));
}

std::string plist(std::string_view body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC "
         "\"-//Apple//DTD PLIST 1.0//EN\" \"http://127.0.0.1:1/none.dtd\">\n<plist "
         "version=\"1.0\">" +
         std::string(body) + "</plist>\n";
}

class BundleTest : public testing::Test {
 protected:
  std::string bundle(const std::string& place, const std::string& contents) {
    folder_.write("A.app/" + place, contents);
    return folder_.file("A.app");
  }
  static std::string info(const std::string& name, const std::string& more = "") {
    return plist("<dict><key>CFBundleName</key><string>" + name + "</string>" + more + "</dict>");
  }
  std::string nameOf(const std::string& path) {
    const auto read = bundles_.threadSafeBundleWithPath(path);
    return read ? read->bundleName.value_or("(none)") : "(null)";
  }

  const ScratchFolder folder_;
  LinuxBundles bundles_{"1.2", folder_.file("A.app")};
};

TEST_F(BundleTest, TakesOnlyTheTopValuesAndOnlyOfTheRightType) {
  const std::string path = bundle(
      "Contents/Info.plist",
      info("",
           "<key>Types</key><array><dict><key>CFBundleIdentifier</key><string>no</string></dict>"
           "</array><key>CFBundleVersion</key><real>2.5</real>"
           "<key>CFBundleShortVersionString</key><true/><key>CFBundleIdentifier</key><array/>"));
  const auto read = bundles_.threadSafeBundleWithPath(path);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->bundleName, "");
  EXPECT_EQ(read->bundleVersion, Value(2.5));
  EXPECT_FALSE(read->bundleIdentifier || read->shortVersionString);
  EXPECT_EQ(nameOf(bundle("Contents/Info.plist", info("x", "<key>k</key><what/>"))), "(null)");
  EXPECT_EQ(bundles_.threadSafeMainBundle()->shortVersionString, Value("1.2"));
}

TEST_F(BundleTest, ReadsTheFirstPlaceAgainWhenItChanged) {
  const std::string path = bundle("Resources/Info.plist", info("resources"));
  EXPECT_EQ(nameOf(path), "resources");
  for (const std::string name : {"one", "two", "six"}) {  // same length, within one tick
    bundle("Contents/Info.plist", info(name));
    EXPECT_EQ(nameOf(path), name);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  const auto first = bundles_.threadSafeBundleWithPath(path);
  EXPECT_EQ(bundles_.threadSafeBundleWithPath(path), first);  // the very same
  std::filesystem::remove_all(path);
  EXPECT_EQ(nameOf(path), "(null)");
}

}  // namespace
}  // namespace revwarden

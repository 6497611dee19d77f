// Checks the interface of the loaded bundle: classes, methods, protocols and constants.
#import <Foundation/Foundation.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>

#include <map>
#include <sstream>

extern "C" void sendEvent(NSString*, id) {}

namespace {

// Reads pairs of words.
std::map<std::string, std::string> table(const char* text) {
  std::map<std::string, std::string> pairs;
  std::istringstream words(text);
  for (std::string name, value; words >> name >> value;) pairs[name] = value;
  return pairs;
}

// Returns a type encoding as in the tables: without argument offsets, B for BOOL, L for int64_t.
std::string plain(std::string types) {
  std::erase_if(types, [](unsigned char c) { return std::isdigit(c); });
  std::replace(types.begin(), types.end(), *@encode(BOOL), 'B');
  std::replace(types.begin(), types.end(), *@encode(int64_t), 'L');
  return types;
}

NSString* besideThePrograms(NSString* name) {
  NSString* const programs =
      [[[NSBundle mainBundle] executablePath] stringByDeletingLastPathComponent];
  return [[programs stringByDeletingLastPathComponent] stringByAppendingPathComponent:name];
}

class Face : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE([plugin load]); }

  void expectMethods(const char* name, const char* text) {
    Protocol* const protocol = NSProtocolFromString([NSString stringWithUTF8String:name]);
    ASSERT_TRUE(protocol);
    unsigned count = 0;
    free(protocol_copyMethodDescriptionList(protocol, YES, YES, &count));
    EXPECT_EQ(count, table(text).size());
    for (const auto& [selector, types] : table(text)) {
      const SEL known = sel_registerName(selector.c_str());
      const auto method = protocol_getMethodDescription(protocol, known, YES, YES);
      ASSERT_TRUE(method.types) << selector;
      EXPECT_EQ(plain(method.types), types) << selector;
    }
  }

 private:
  NSAutoreleasePool* const pool_ = [[NSAutoreleasePool alloc] init];  // until the process ends

 protected:
  NSBundle* const plugin = [NSBundle bundleWithPath:besideThePrograms(@"gnustep/Revwarden.plugin")];
};

TEST_F(Face, HasEveryMethod) {
  const Class agent = [plugin principalClass];
  ASSERT_TRUE([NSStringFromClass(agent) isEqual:@"KQRWAgent"]);
  const auto messages = table(R"(
      setDelegate: v@:@  delegate @@:  items @@:  itemsSnapshot @@:  itemSnapshotWithID: @@:@
      setStarred:forItemWithId: v@:B@  moveItemsWithIds:toBlackList: v@:@B
      itemWithIdIsInBlackList: B@:@  startFullRescan v@:  startUpdateInfoForItemsWithIDs: v@:@
      startUpdateItemWithIDs: v@:@  cancelUpdateItemWithIDs: v@:@  showRevwardenNotifications B@:
      setShowRevwardenNotifications: v@:B  updatesApplicationsFromAllLocalVolumes B@:
      setUpdatesApplicationsFromAllLocalVolumes: v@:B  updateIsInProgress B@:
      installerQueueIsInProgress B@:  installerQueueCount L@:  totalUpdatesCount L@:
      openRevwarden v@:)");
  ASSERT_EQ(messages.size(), 21);
  for (const auto& [name, types] : messages) {
    const SEL selector = sel_registerName(name.c_str());
    ASSERT_TRUE([agent instancesRespondToSelector:selector]) << name;
    const Method method = class_getInstanceMethod(agent, selector);
    EXPECT_EQ(plain(method_getTypeEncoding(method)), types) << name;
  }
}

TEST_F(Face, HasBothProtocols) {
  expectMethods("KQRWAgentDelegate", R"(
      itemsDidChangeInAgent: Vv@:@  agentDidStartValidateItem: Vv@:@
      agentDidFinishValidateItem: Vv@:@  agentDidFinishUpdatingApplicationList: Vv@:@
      agent:didChangeStatusForItems: v@:@@  didStartQueueInAgent: v@:@  didStopQueueInAgent: v@:@
      agent:didStartUpdateItem: v@:@@  agent:didStopUpdateItem: v@:@@
      agent:didChangeUpdatedStatusForItem: v@:@@  openRevwarden v@:)");
  expectMethods("KQRWAppInstallerDelegate", R"(
      appInstallerDidStart: v@:@  appInstaller:didFinishSuccessfully: v@:@B
      appInstallerFailedAndStoppedQueue: v@:@  appInstallerDidUpdateStatus: v@:@)");
}

TEST_F(Face, ExportsEveryConstant) {
  const auto texts = table(R"(
      IDKey id  ApplicationPathKey applicationPath  ApplicationNameKey applicationName
      BundleIdKey bundleId  CurrentVersionKey currentVersion  IsFavouriteKey isFavourite
      IsInBlackList isInBlackList  AvailableVersionInfoKey availableVersionInfo
      LastFullCheckDate lastFullCheckDate  NotifiedVersionKey notifiedVersion
      InstallerIsInQueueKey isInQueue  InstallerTotalBytesKey totalBytes
      InstallerReceivedBytesKey receivedBytes  InstallerCurrentActionKey currentAction
      InstallerDownloadPathKey downloadPath  InstallerResourcesPathKey resourcePath
      ItemStatusKey applicationStatus  ItemUpToDateKey upToDate
      INameKey name  IVersionKey version  IOSKey os  INewInVersionKey new_in_version
      IShortDescrKey short_descr  IFullDescrKey full_descr  ILicenseKey license
      ILimitationsKey limitations  IPriceKey price  ISupportedMacOSXKey ar  IDateAddKey date_add
      IDownloadLinkKey download_link  IFileSizeKey file_size  IFileSizeByteKey file_size_byte
      IFileSizeByteNumberKey file_size_byte_number  IUpdateMethodKey updateMethod
      IBundleIDKey bundle_id
      UpdateMethodAuto auto  UpdateMethodDownloadAndReveal downloadOnly
      UpdateMethodDownloadAndMount downloadAndMount  UpdateMethodManual manual)");
  ASSERT_EQ(texts.size(), 18 + 17 + 4);
  void* const library = dlopen([[plugin executablePath] UTF8String], RTLD_NOW | RTLD_NOLOAD);
  ASSERT_TRUE(library) << dlerror();
  for (const auto& [name, text] : texts) {
    void* const constant = dlsym(library, ("kKQRW" + name).c_str());
    ASSERT_TRUE(constant) << name;
    EXPECT_EQ([*static_cast<NSString**>(constant) UTF8String], text) << name;
  }
}

}  // namespace

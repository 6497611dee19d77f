#import "ports/macos/platform/shared_helpers.h"

#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"

namespace revwarden {
namespace {

Result<> resultOf(id error) {
  if (!error) return kSuccess;
  return Error{"", textOf([error description])};
}

class SharedHelperTask final : public KQHelperTask {
 public:
  explicit SharedHelperTask(::KQHelperTask* task) : task_(task) {}

  Result<std::string> moveItemAtPathToTrash(std::string_view path) override {
    const AutoreleasePool pool;
    const Result<> moved = resultOf([task() moveItemAtPathToTrash:foundationText(path)]);
    if (!moved) return moved.error();
    return std::string();  // the shared library does not say where
  }

  Result<> performCopyItemAtPath_toPath(std::string_view source,
                                        std::string_view destination) override {
    const AutoreleasePool pool;
    return resultOf([task() performCopyItemAtPath:foundationText(source)
                                           toPath:foundationText(destination)]);
  }

  Result<> performAction_withArguments(
      std::string_view action, const std::map<std::string, std::string>& arguments) override {
    const AutoreleasePool pool;
    NSMutableDictionary* const texts = [NSMutableDictionary dictionary];
    for (const auto& [name, text] : arguments) {
      [texts setObject:foundationText(text) forKey:foundationText(name)];
    }
    return resultOf([task() performAction:foundationText(action) withArguments:texts]);
  }

  void stop() override {
    const AutoreleasePool pool;
    [task() stop];
  }

 private:
  ::KQHelperTask* task() const { return task_.get(); }

  const Retained task_;
};

}  // namespace

Result<std::shared_ptr<KQHelperTask>> SharedHelpers::rootTaskWithPrompt(std::string_view prompt) {
  const AutoreleasePool pool;
  ::KQHelperTask* const task =
      [[::KQHelperManager sharedManager] rootTaskWithPrompt:foundationText(prompt)];
  if (!task) return Error{"notAuthorized", "administrator rights were not granted"};
  return std::shared_ptr<KQHelperTask>(std::make_shared<SharedHelperTask>(task));
}

}  // namespace revwarden

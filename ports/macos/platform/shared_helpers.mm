#import "ports/macos/platform/shared_helpers.h"

#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"

namespace revwarden {
namespace {

std::optional<std::string> errorText(id error) {
  if (!error) return std::nullopt;
  return textOf([error description]);
}

class SharedHelperTask final : public KQHelperTask {
 public:
  explicit SharedHelperTask(::KQHelperTask* task) : task_(task) {}

  std::optional<std::string> moveItemAtPathToTrash(std::string_view path) override {
    const AutoreleasePool pool;
    return errorText([task() moveItemAtPathToTrash:foundationText(path)]);
  }

  std::optional<std::string> performCopyItemAtPath_toPath(std::string_view source,
                                                          std::string_view destination) override {
    const AutoreleasePool pool;
    return errorText([task() performCopyItemAtPath:foundationText(source)
                                            toPath:foundationText(destination)]);
  }

  std::optional<std::string> performAction_withArguments(
      std::string_view action, const std::map<std::string, std::string>& arguments) override {
    const AutoreleasePool pool;
    NSMutableDictionary* const texts = [NSMutableDictionary dictionary];
    for (const auto& [name, text] : arguments) {
      [texts setObject:foundationText(text) forKey:foundationText(name)];
    }
    return errorText([task() performAction:foundationText(action) withArguments:texts]);
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

std::shared_ptr<KQHelperTask> SharedHelpers::rootTaskWithPrompt(std::string_view prompt) {
  const AutoreleasePool pool;
  ::KQHelperTask* const task =
      [[::KQHelperManager sharedManager] rootTaskWithPrompt:foundationText(prompt)];
  return task ? std::make_shared<SharedHelperTask>(task) : nullptr;
}

}  // namespace revwarden

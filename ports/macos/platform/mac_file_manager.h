#pragma once

#include "platform/file_manager.h"

namespace revwarden {

/// Answers questions about paths and volumes with the shared library. Any thread.
class MacFileManager final : public FileManager {
 public:
  std::unique_ptr<PathInspector> inspectorForPass() override;
  std::string temporaryDirectory() const override;
  bool isMovableFileAtPath(std::string_view path) const override;
};

}  // namespace revwarden

#include "agent/plugin.h"

#include <cstring>
#include <memory>

#include "agent/principal_agent.h"

using revwarden::PluginFactory;

extern "C" __attribute__((visibility("default"))) PluginFactory revwarden_create_principal_object;

extern "C" const char* revwarden_create_principal_object(
    uint32_t abi, const char* buildId, const std::shared_ptr<const revwarden::Platform>* platform,
    std::shared_ptr<revwarden::KQRWAgent>* agent) {
  if (abi != revwarden::kPluginABI || std::strcmp(buildId, REVWARDEN_BUILD_ID) != 0) return nullptr;
  *agent = revwarden::PrincipalAgent::create(*platform);
  return REVWARDEN_VERSION;
}

#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace revwarden {

/// What a shell command writes, without the last line break.
inline std::string shell(const std::string& command) {
  std::string output;
  FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
  for (int c; (c = fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  pclose(pipe);
  if (output.ends_with('\n')) output.pop_back();
  return output;
}

/// A message bus of the test's own, with a stand-in of python3-dbusmock for a service.
class MockedBus {
 public:
  /// `kind` is "session" or "system".
  MockedBus(const std::string& kind, const std::string& standIn)
      : kind_(kind),
        variable_(kind == "system" ? "DBUS_SYSTEM_BUS_ADDRESS" : "DBUS_SESSION_BUS_ADDRESS") {
    const std::string started =
        shell("dbus-daemon --session --fork --nosyslog --print-address=1 --print-pid=1");
    const size_t lineEnd = started.find('\n');
    setenv(variable_, started.substr(0, lineEnd).c_str(), 1);
    processes_ = started.substr(lineEnd + 1) + " " +
                 shell("/usr/bin/python3 -m dbusmock --" + kind + " --template " + standIn +
                       " >/dev/null 2>&1 & echo $!");
  }
  ~MockedBus() {
    unsetenv(variable_);
    shell("kill " + processes_);
  }
  MockedBus(const MockedBus&) = delete;
  MockedBus& operator=(const MockedBus&) = delete;

  /// The answer to a call of "org.freedesktop.DBus.METHOD" as text; empty when there is none.
  std::string call(const std::string& name, const std::string& path, const std::string& method,
                   const std::string& arguments = "") const {
    return shell("gdbus call --" + kind_ + " --dest " + name + " --object-path " + path +
                 " --method org.freedesktop.DBus." + method + " " + arguments);
  }

 private:
  const std::string kind_;
  const char* const variable_;
  std::string processes_;
};

}  // namespace revwarden

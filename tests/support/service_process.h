#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tw::test {

// A daemon a test starts (a container engine, say), writing its output to a log file. It
// is stopped (SIGTERM, then SIGKILL once the grace time is up) and reaped when the object
// goes, or earlier with stop(). Only this process is ever signalled.
class ServiceProcess {
 public:
  // Nothing, with `whyNot` filled in, when the program cannot be started.
  [[nodiscard]] static std::unique_ptr<ServiceProcess> start(
      const std::vector<std::string>& command, const std::string& logFile, std::string& whyNot,
      const std::map<std::string, std::optional<std::string>>& environment = {});
  ~ServiceProcess();
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  [[nodiscard]] bool running();
  void stop(std::chrono::seconds grace = std::chrono::seconds(30));
  // The last `bytes` of what it wrote.
  [[nodiscard]] std::string logTail(std::size_t bytes = 2000) const;

 private:
  ServiceProcess() = default;

  pid_t pid_ = -1;
  std::string logFile_;
};

}  // namespace tw::test

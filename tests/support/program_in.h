#pragma once

#include <sys/types.h>

#include <string>

namespace tw::test {

// A real program working inside `folder` (its working folder) until the guard goes, as an
// editor, a build or an emulator working there would be.
class ProgramIn {
 public:
  explicit ProgramIn(const std::string& folder);
  ~ProgramIn();
  ProgramIn(const ProgramIn&) = delete;
  ProgramIn& operator=(const ProgramIn&) = delete;

 private:
  pid_t pid_ = 0;
};

}  // namespace tw::test

#include "support/programs.h"

#include "support/fake_home.h"

namespace tw::test {

const char* tidewardenBinary() { return TIDEWARDEN_BINARY; }

bool isInstalled(const std::string& program) { return runProcess({"sh", "-c", "command -v " + program}).code == 0; }

}  // namespace tw::test

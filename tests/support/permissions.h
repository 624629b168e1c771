#pragma once

namespace tw::test {

// Makes this test process, its later threads and the programs it starts obey file
// permissions even when it runs as root (drops the capabilities that override them), so
// that a folder made unreadable with chmod really is unreadable. False when that is not
// possible; the test should then skip.
[[nodiscard]] bool enforceFilePermissions();

}  // namespace tw::test

#pragma once

#include <cstdint>
#include <system_error>

#include "fs/folder_walk.h"

namespace tw {

// Deletes what a walk visits: files and links as they are listed, each folder once the walk
// has emptied it. A subfolder that turned into a link before it was reached is removed as a
// link; one that turned into another folder, or sits on another device, is left alone and
// reported. Keeps the first failure.
class TreeRemover : public FolderVisitor {
 public:
  void visit(int folderFd, const FileIdentity& folder, std::vector<Subfolder>& subfolders) override;
  void skipped(int parentFd, const Subfolder& subfolder, SkipReason reason) override;
  void finished(int parentFd, const Subfolder& subfolder) override;

  [[nodiscard]] std::error_code error() const { return error_; }
  // Bytes given back by the files removed so far (a file with other links frees nothing).
  [[nodiscard]] std::int64_t freed() const { return freed_; }

 protected:
  void fail(int error);

 private:
  std::error_code error_;
  std::int64_t freed_ = 0;
};

}  // namespace tw

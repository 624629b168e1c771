#include "trash/trash_messages.h"

#include "core/format.h"

namespace tw {
namespace {

std::string items(std::size_t count) { return std::to_string(count) + (count == 1 ? " item" : " items"); }

std::string blockedSentence(std::size_t blocked) {
  if (blocked == 0) return "";
  return " " + std::to_string(blocked) + (blocked == 1 ? " is" : " are") +
         " protected from deletion by other apps or in use.";
}

}  // namespace

std::string TrashMessages::deleted(std::size_t count, std::int64_t freed, std::size_t needAdmin, std::size_t blocked) {
  std::string text = "Deleted " + items(count) + ", freed " + byteFormatter(freed) + ".";
  if (needAdmin > 0) text += " " + std::to_string(needAdmin) + " need administrator rights to delete.";
  return text + blockedSentence(blocked);
}

std::string TrashMessages::adminCancelled() { return "Cancelled. Nothing was deleted."; }

std::string TrashMessages::adminDeleted(std::size_t count, std::int64_t freed, std::size_t blocked,
                                        const std::string& error) {
  std::string text = count > 0 || error.empty()
                         ? "Deleted " + items(count) + ", freed " + byteFormatter(freed) + "."
                         : "Couldn't delete with administrator rights: " + error + (error.ends_with('.') ? "" : ".");
  return text + blockedSentence(blocked);
}

std::string TrashMessages::fileManager(TrashLayout::FileManagerResult result) {
  if (result != TrashLayout::FileManagerResult::unavailable) return TrashLayout::fileManagerSentence(result);
  return "This system has no file manager that Tidewarden can ask to empty the Trash, so select the items and "
         "delete them here instead.";
}

std::string TrashMessages::putBack(std::size_t restored, const std::vector<std::string>& failures) {
  std::string text;
  if (!failures.empty()) {
    text = "Couldn't restore:";
    for (const auto& failure : failures) text += " " + failure;
  }
  if (restored > 0 || failures.empty()) {
    if (!text.empty()) text += " ";
    text += "Put back " + items(restored) + ".";
  }
  return text;
}

}  // namespace tw

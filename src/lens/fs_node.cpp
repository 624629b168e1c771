#include <algorithm>

#include "lens/disk_scanner.h"

namespace tw {

FSNode::FSNode(std::string name, bool isDir, FSNode* parent) : name(std::move(name)), isDir(isDir), parent(parent) {}

FSNode::~FSNode() {
  // A chain of nested folders would otherwise destroy itself one stack frame per level.
  std::vector<std::unique_ptr<FSNode>> doomed = std::move(children);
  while (!doomed.empty()) {
    std::unique_ptr<FSNode> node = std::move(doomed.back());
    doomed.pop_back();
    for (auto& child : node->children) doomed.push_back(std::move(child));
    node->children.clear();
  }
}

std::vector<const FSNode*> FSNode::ancestors() const {
  std::vector<const FSNode*> chain;
  for (const FSNode* node = this; node != nullptr; node = node->parent) chain.push_back(node);
  std::reverse(chain.begin(), chain.end());
  return chain;
}

std::string FSNode::path() const {
  const auto chain = ancestors();
  std::string result = chain.front()->name;
  for (std::size_t i = 1; i < chain.size(); ++i) {
    if (result != "/") result += '/';
    result += chain[i]->name;
  }
  return result;
}

}  // namespace tw

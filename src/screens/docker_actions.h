#pragma once

#include <optional>
#include <string>

#include "core/dev_item.h"
#include "screens/docker.h"

namespace tw {

// How one engine object is removed: its command-line tool, told the engine's own socket
// so that it cannot reach another engine, or, without a tool, the engine's API. Nothing is
// forced: an object that came into use since the list was made stays, with the engine's
// reason as the error.
class DockerRemover {
 public:
  DockerRemover(DockerDeep::Engine engine, std::optional<std::string> cli)
      : engine_(std::move(engine)), cli_(std::move(cli)) {}

  // Docker's by its tags when it has any (removing the last one deletes the image), else by id.
  [[nodiscard]] DevAction image(const DockerUsage::Image& image) const;
  [[nodiscard]] DevAction container(const std::string& id) const;
  [[nodiscard]] DevAction buildCache(const std::string& id) const;
  [[nodiscard]] DevAction volume(const std::string& name) const;

 private:
  [[nodiscard]] std::vector<std::string> tool(std::vector<std::string> arguments) const;
  [[nodiscard]] DevAction api(std::vector<std::pair<std::string, std::string>> requests) const;

  DockerDeep::Engine engine_;
  std::optional<std::string> cli_;
};

}  // namespace tw

#pragma once

#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/context.h"
#include "core/date.h"
#include "core/dev_group.h"

namespace tw {

// The Hugging Face hub cache at `hub`: one item per repository, and, pre-selected unless
// used in the last 30 days, each detached revision and unfinished download. Removal uses
// `hfTool` (the hub's `hf` command) for a repository nothing else links into, and
// otherwise deletes exactly what that command would, after reading the cache again. The
// removals run under the context's home folder and project roots.
[[nodiscard]] DevGroupPtr huggingFaceGroup(const std::string& hub, const std::optional<std::string>& hfTool, Date now,
                                           const Context& context);

// An Ollama server that answers on this machine: the models it lists, by name, with the
// digest of their manifest.
struct OllamaServer {
  std::string cli;                             // the `ollama` command
  std::map<std::string, std::string> digests;  // name -> manifest digest (hex)

  // The server $OLLAMA_HOST names (default 127.0.0.1:11434) when it answers and `cli` is
  // installed; nothing otherwise, or when the address is not on this machine.
  [[nodiscard]] static std::optional<OllamaServer> find(const Environment& env, const std::optional<std::string>& cli,
                                                        std::stop_token stop = {});
  [[nodiscard]] static std::optional<std::string> baseAddress(const Environment& env);
};

// An Ollama store: one item per model, and the blobs no model names as their own group
// ("orphaned downloads"), pre-selected unless touched in the last 30 days. A model the
// running server lists with the same manifest is removed with `ollama rm`; otherwise its
// manifest and the blobs no remaining manifest names are deleted, after reading the store again.
[[nodiscard]] std::vector<DevGroupPtr> ollamaGroups(const std::string& folder,
                                                    const std::optional<OllamaServer>& server, Date now,
                                                    const Context& context);

}  // namespace tw

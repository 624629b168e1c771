#pragma once

#include <functional>
#include <map>
#include <string_view>

namespace tw {

// A small callback list for the observable models. The app adapts it to its own
// signals; tests subscribe directly. Observers are called on the owner's thread.
class Observable {
 public:
  using Observer = std::function<void(std::string_view property)>;

  int observe(Observer observer);
  void unobserve(int token);

 protected:
  Observable() = default;
  ~Observable() = default;
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;

  void notify(std::string_view property) const;

 private:
  std::map<int, Observer> observers_;
  int nextToken_ = 1;
};

}  // namespace tw

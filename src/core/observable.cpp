#include "core/observable.h"

#include <vector>

namespace tw {

int Observable::observe(Observer observer) {
  const int token = nextToken_++;
  observers_.emplace(token, std::move(observer));
  return token;
}

void Observable::unobserve(int token) { observers_.erase(token); }

void Observable::notify(std::string_view property) const {
  // Copy first: an observer may unsubscribe itself while being called.
  std::vector<Observer> current;
  current.reserve(observers_.size());
  for (const auto& [token, observer] : observers_) current.push_back(observer);
  for (const auto& observer : current) observer(property);
}

}  // namespace tw

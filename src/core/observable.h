#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <vector>

namespace tw {

// One change of an observable model: which field changed and, for a list, which of its
// rows (by index into the model's list), so that a view updates those rows instead of
// resetting. Empty `rows` means the change is not about particular rows: a new list, a
// flag, a count.
template <class Field>
struct Change {
  Field field;
  std::vector<std::size_t> rows;
  friend bool operator==(const Change&, const Change&) = default;
};

// A small callback list for the observable models; each model names its fields in an
// enumeration of its own. The app adapts it to its signals in one adapter per model;
// tests subscribe directly. Observers are called on the owner's thread.
template <class Field>
class Observable {
 public:
  using Notice = Change<Field>;
  using Observer = std::function<void(const Notice&)>;

  int observe(Observer observer) {
    const int token = nextToken_++;
    observers_.emplace(token, std::move(observer));
    return token;
  }
  void unobserve(int token) { observers_.erase(token); }

 protected:
  Observable() = default;
  ~Observable() = default;
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;

  void notify(Field field, std::vector<std::size_t> rows = {}) const {
    if (observers_.empty()) return;
    const Notice notice{field, std::move(rows)};
    // Copy first: an observer may unsubscribe itself while being called.
    std::vector<Observer> current;
    current.reserve(observers_.size());
    for (const auto& [token, observer] : observers_) current.push_back(observer);
    for (const auto& observer : current) observer(notice);
  }

 private:
  std::map<int, Observer> observers_;
  int nextToken_ = 1;
};

}  // namespace tw

#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QObject>

namespace tw::app {

// Every test class of the app's test program, run one after another by its main.
using AppTestFactory = std::function<std::unique_ptr<QObject>()>;
std::vector<AppTestFactory>& appTests();

template <class Test>
bool registerAppTest() {
  appTests().push_back([] { return std::make_unique<Test>(); });
  return true;
}

}  // namespace tw::app

#define APP_TEST_CONCAT2(a, b) a##b
#define APP_TEST_CONCAT(a, b) APP_TEST_CONCAT2(a, b)
// Adds a test class to the program; use once per class, at namespace scope.
#define APP_TEST(Class) \
  [[maybe_unused]] static const bool APP_TEST_CONCAT(registered_, __LINE__) = ::tw::app::registerAppTest<Class>();

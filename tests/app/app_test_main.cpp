#include <QApplication>
#include <QTest>

#include "app_test.h"

namespace tw::app {
namespace {

// Test functions named on the command line (QtTest's own form, "name" or "name:data").
QStringList namedFunctions(const std::vector<char*>& arguments) {
  QStringList names;
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    const QString word = QString::fromLocal8Bit(arguments[index]);
    if (!word.startsWith(QLatin1Char('-'))) names << word.section(QLatin1Char(':'), 0, 0);
  }
  return names;
}

// A class runs when no function is named or it has one of those named.
bool hasAnyOf(const QObject& test, const QStringList& names) {
  if (names.isEmpty()) return true;
  const QMetaObject* meta = test.metaObject();
  for (const QString& name : names) {
    if (meta->indexOfMethod(QMetaObject::normalizedSignature(qPrintable(name + QStringLiteral("()")))) >= 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::vector<AppTestFactory>& appTests() {
  static std::vector<AppTestFactory> tests;
  return tests;
}

}  // namespace tw::app

int main(int argc, char** argv) {
  // The views are drawn off screen, so the tests need no display.
  qputenv("QT_QPA_PLATFORM", "offscreen");
  // The suite's script hands every test program the same test-framework flags; they are
  // not this framework's.
  std::vector<char*> arguments;
  for (int index = 0; index < argc; ++index) {
    if (!QByteArray(argv[index]).startsWith("--gtest_")) arguments.push_back(argv[index]);
  }
  int count = static_cast<int>(arguments.size());
  QApplication application(count, arguments.data());
  const QStringList names = tw::app::namedFunctions(arguments);
  int failed = 0;
  for (const auto& make : tw::app::appTests()) {
    const auto test = make();
    if (tw::app::hasAnyOf(*test, names)) failed += QTest::qExec(test.get(), count, arguments.data());
  }
  return failed == 0 ? 0 : 1;
}

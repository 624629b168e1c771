#include <QApplication>
#include <QTest>

#include "app_test.h"

namespace tw::app {
namespace {

// Whether the word at `index` names a test function ("name" or "name:data") rather than
// an option or an option's value.
bool namesFunction(const std::vector<char*>& arguments, std::size_t index) {
  static const QStringList takingValues{QStringLiteral("-o"),          QStringLiteral("-maxwarnings"),
                                        QStringLiteral("-eventdelay"), QStringLiteral("-keydelay"),
                                        QStringLiteral("-mousedelay"), QStringLiteral("-seed"),
                                        QStringLiteral("-repeat"),     QStringLiteral("-platform")};
  if (arguments[index][0] == '-') return false;
  return index < 2 || !takingValues.contains(QString::fromLocal8Bit(arguments[index - 1]));
}

QString functionName(const char* word) { return QString::fromLocal8Bit(word).section(QLatin1Char(':'), 0, 0); }

QStringList namedFunctions(const std::vector<char*>& arguments) {
  QStringList names;
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    if (namesFunction(arguments, index)) names << functionName(arguments[index]);
  }
  return names;
}

bool hasFunction(const QObject& test, const QString& name) {
  return test.metaObject()->indexOfMethod(QMetaObject::normalizedSignature(qPrintable(name + QStringLiteral("()")))) >=
         0;
}

// The command line for one class: the options, and of the named functions only its own.
std::vector<char*> argumentsFor(const QObject& test, const std::vector<char*>& arguments) {
  std::vector<char*> own{arguments.front()};
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    if (!namesFunction(arguments, index) || hasFunction(test, functionName(arguments[index]))) {
      own.push_back(arguments[index]);
    }
  }
  return own;
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
    auto own = tw::app::argumentsFor(*test, arguments);
    // A class none of whose functions is named does not run at all.
    if (!names.isEmpty() && tw::app::namedFunctions(own).isEmpty()) continue;
    failed += QTest::qExec(test.get(), static_cast<int>(own.size()), own.data());
  }
  return failed == 0 ? 0 : 1;
}

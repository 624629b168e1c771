#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "automation/notify.h"
#include "session_bus.h"
#include "support/fake_home.h"

namespace tw {
namespace {

using namespace std::chrono_literals;

Context contextOnBus(const test::FakeHome& home, const std::string& address) {
  Context context = home.context();
  context.env["DBUS_SESSION_BUS_ADDRESS"] = address;
  return context;
}

// Runs `send` and returns what it wrote on standard error.
template <class Send>
std::string standardErrorOf(Send send) {
  testing::internal::CaptureStderr();
  send();
  return testing::internal::GetCapturedStderr();
}

std::size_t lineCount(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(Notify, PostsEachNotificationAsANewOneWithItsTitleAndBody) {
  test::FakeHome home;
  test::SessionBus bus;
  if (!bus.started()) GTEST_SKIP() << bus.problem();
  test::NotificationServer server(bus.address());
  ASSERT_TRUE(server.ready());
  const Context context = contextOnBus(home, bus.address());

  const auto first = Notify::send(context, "Tidewarden auto-clean", "Auto-clean found nothing to remove.");
  const auto second = Notify::send(context, "Tidewarden auto-clean", "Auto-clean freed 1.5 GB (3 items).");

  ASSERT_TRUE(std::holds_alternative<Notify::Posted>(first));
  ASSERT_TRUE(std::holds_alternative<Notify::Posted>(second));
  EXPECT_NE(std::get<Notify::Posted>(first).id, std::get<Notify::Posted>(second).id);
  const auto received = server.waitFor(2);
  ASSERT_EQ(received.size(), 2u);
  EXPECT_EQ(received[0].app, "Tidewarden");
  EXPECT_EQ(received[0].replaces, 0u);
  EXPECT_EQ(received[0].title, "Tidewarden auto-clean");
  EXPECT_EQ(received[0].body, "Auto-clean found nothing to remove.");
  EXPECT_EQ(received[1].body, "Auto-clean freed 1.5 GB (3 items).");
  EXPECT_EQ(received[1].replaces, 0u);
}

TEST(Notify, ABusWithoutANotificationServerGivesOneLineOnStandardError) {
  test::FakeHome home;
  test::SessionBus bus;
  if (!bus.started()) GTEST_SKIP() << bus.problem();
  const Context context = contextOnBus(home, bus.address());

  Notify::Result result;
  const auto started = std::chrono::steady_clock::now();
  const std::string err = standardErrorOf([&] { result = Notify::send(context, "Title", "Body"); });
  EXPECT_LT(std::chrono::steady_clock::now() - started, Notify::timeout);
  ASSERT_TRUE(std::holds_alternative<Notify::NotShown>(result));
  EXPECT_EQ(lineCount(err), 1u) << err;
  EXPECT_NE(err.find("\"Title\" not shown"), std::string::npos) << err;
}

TEST(Notify, NoSessionBusAtAllGivesOneLineOnStandardError) {
  test::FakeHome home;
  Context context = home.context();
  context.env.erase("DBUS_SESSION_BUS_ADDRESS");
  context.env.erase("XDG_RUNTIME_DIR");
  Notify::Result result;
  std::string err = standardErrorOf([&] { result = Notify::send(context, "Title", "Body"); });
  EXPECT_TRUE(std::holds_alternative<Notify::NotShown>(result));
  EXPECT_EQ(lineCount(err), 1u) << err;
  EXPECT_NE(err.find("no session bus"), std::string::npos) << err;

  // A bus address whose socket is not there.
  context.env["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (home / "no-such-bus");
  err = standardErrorOf([&] { result = Notify::send(context, "Title", "Body"); });
  EXPECT_TRUE(std::holds_alternative<Notify::NotShown>(result));
  EXPECT_EQ(lineCount(err), 1u) << err;

  // XDG_RUNTIME_DIR without a bus socket in it.
  context.env.erase("DBUS_SESSION_BUS_ADDRESS");
  context.env["XDG_RUNTIME_DIR"] = home.folder("run");
  err = standardErrorOf([&] { result = Notify::send(context, "Title", "Body"); });
  EXPECT_TRUE(std::holds_alternative<Notify::NotShown>(result));
  EXPECT_EQ(lineCount(err), 1u) << err;
}

TEST(Notify, AServerThatNeverAnswersIsGivenUpOnAfterTheTimeout) {
  test::FakeHome home;
  test::SessionBus bus;
  if (!bus.started()) GTEST_SKIP() << bus.problem();
  test::NotificationServer silent(bus.address(), /*answers=*/false);
  ASSERT_TRUE(silent.ready());
  const Context context = contextOnBus(home, bus.address());

  Notify::Result result;
  const auto started = std::chrono::steady_clock::now();
  const std::string err = standardErrorOf([&] { result = Notify::send(context, "Title", "Body"); });
  const auto took = std::chrono::steady_clock::now() - started;
  EXPECT_GE(took, Notify::timeout - 100ms);
  EXPECT_LT(took, Notify::timeout + 3s);
  EXPECT_TRUE(std::holds_alternative<Notify::NotShown>(result));
  EXPECT_EQ(lineCount(err), 1u) << err;
  EXPECT_EQ(silent.received().size(), 1u);
}

}  // namespace
}  // namespace tw

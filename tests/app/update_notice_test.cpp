#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <nlohmann/json.hpp>

#include "app/appearance.h"
#include "app/main_window.h"
#include "app/qt_dispatcher.h"
#include "app_test.h"
#include "core/settings.h"
#include "core/version.h"
#include "sample_home.h"
#include "support/https_feed_server.h"
#include "updates/updates.h"
#include "widget_files.h"

namespace tw::app {
namespace {

std::string feed(const std::string& announced) {
  return nlohmann::json{{"version", announced},
                        {"date", "2026-12-01"},
                        {"notes", "https://tidewarden.github.io/releases/" + announced},
                        {"download", "https://tidewarden.github.io/tidewarden_" + announced + "_amd64.deb"}}
      .dump();
}

}  // namespace

// The opt-in update check as the window shows it, against a real HTTPS feed on loopback.
class UpdateNoticeTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
  }
  void cleanup() { home_.reset(); }

  void aNewerVersionShowsItsNoticeAndTheSameVersionShowsNone() {
    if (const auto reason = test::HttpsFeedServer::unavailableReason()) QSKIP(reason->c_str());
    test::HttpsFeedServer server;
    server.serve("newer.json", feed("99.1.0"));
    server.serve("same.json", feed(std::string(version)));
    for (const auto& [appearance, suffix] : photographedAppearances()) {
      applyAppearance(appearance);
      const QTemporaryDir home;
      MainWindow window(contextFor(home.path(), server.url("newer.json"), true), qtDispatcher());
      window.show();
      window.checkForUpdates({.caFile = server.certificate()});
      auto* banner = window.findChild<QWidget*>(QStringLiteral("updateBanner"));
      QTRY_VERIFY_WITH_TIMEOUT(banner->isVisible(), 20'000);
      QCOMPARE(banner->findChild<QLabel*>(QStringLiteral("updateText"))->text(),
               QStringLiteral("Tidewarden 99.1.0 is available"));
      photograph(window, QStringLiteral("update-notice") + suffix);
    }
    applyAppearance(Appearance::light);

    MainWindow same(contextFor(home_->path(), server.url("same.json"), true), qtDispatcher());
    same.show();
    same.checkForUpdates({.caFile = server.certificate()});
    QTRY_VERIFY_WITH_TIMEOUT(server.requests().size() == 3, 20'000);
    QTest::qWait(200);
    QVERIFY(!same.findChild<QWidget*>(QStringLiteral("updateBanner"))->isVisible());
  }

  void withTheCheckOffNothingIsAsked() {
    if (const auto reason = test::HttpsFeedServer::unavailableReason()) QSKIP(reason->c_str());
    test::HttpsFeedServer server;
    MainWindow window(contextFor(home_->path(), server.url("newer.json"), false), qtDispatcher());
    window.show();
    window.checkForUpdates({.caFile = server.certificate()});
    QTest::qWait(500);
    QVERIFY(server.requests().empty());
  }

  void theAboutBoxNamesTheVersion() {
    MainWindow window(contextFor(home_->path(), "https://127.0.0.1:9/none.json", false), qtDispatcher());
    window.show();
    QTest::mouseClick(window.findChild<QPushButton*>(QStringLiteral("openAbout")), Qt::LeftButton);
    auto* about = window.findChild<QMessageBox*>(QStringLiteral("about"));
    QVERIFY(about && about->isVisible());
    QVERIFY(about->text().contains(QString::fromUtf8(version.data(), static_cast<int>(version.size()))));
    about->close();
  }

 private:
  static Context contextFor(const QString& home, const std::string& feed, bool checkOn) {
    Context context = homeContext(home, {{Updates::feedVariable, feed}});
    context.settings->set(Updates::enabledKey, checkOn);
    return context;
  }

  std::unique_ptr<QTemporaryDir> home_;
};

}  // namespace tw::app

APP_TEST(tw::app::UpdateNoticeTest)

#include "update_notice_test.moc"

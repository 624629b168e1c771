#include <filesystem>
#include <fstream>

#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>

#include <nlohmann/json.hpp>

#include "app/appearance.h"
#include "app/confirm_removal.h"
#include "app/main_window.h"
#include "app/qt_dispatcher.h"
#include "app/roots_bar.h"
#include "app_test.h"
#include "core/history.h"
#include "core/settings.h"
#include "sample_home.h"
#include "widget_files.h"

namespace tw::app {
namespace {

namespace fs = std::filesystem;

void writeFile(const fs::path& path, std::size_t bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << std::string(bytes, 'x');
}

// A project whose last work was `daysAgo` days ago, as its files' times tell.
void makeProject(const fs::path& folder, const std::string& manifest, const std::string& artifact, int daysAgo) {
  writeFile(folder / manifest, 20);
  writeFile(folder / artifact / "output.bin", 200'000);
  const auto then = fs::file_time_type::clock::now() - std::chrono::hours(24 * daysAgo);
  for (const auto& entry : fs::recursive_directory_iterator(folder)) fs::last_write_time(entry.path(), then);
  fs::last_write_time(folder, then);
}

// Answers the next dialog that opens with the button of that object name.
// Gives up after about two seconds, so a dialog that never comes fails the test's own check.
void answerNextDialog(const QString& button, QStringList* seen = nullptr, int tries = 200) {
  QTimer::singleShot(10, [button, seen, tries] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) {
      if (tries > 0) answerNextDialog(button, seen, tries - 1);
      return;
    }
    if (seen) {
      *seen << dialog->findChild<QLabel*>(QStringLiteral("confirmHeading"))->text();
      const auto* list = dialog->findChild<QTreeWidget*>(QStringLiteral("confirmItems"));
      for (int row = 0; row < list->topLevelItemCount(); ++row) *seen << list->topLevelItem(row)->text(1);
      const auto* cancel = dialog->findChild<QPushButton*>(QStringLiteral("cancel"));
      *seen << (cancel->isDefault() ? QStringLiteral("cancel is the default")
                                    : QStringLiteral("cancel is not the default"));
    }
    QTest::mouseClick(dialog->findChild<QPushButton*>(button), Qt::LeftButton);
  });
}

const DevItem* itemNamed(const DevPane& pane, const std::string& path) {
  for (const auto& group : pane.groups()) {
    for (const auto& item : group->items()) {
      if (item.revealPath == path) return &item;
    }
  }
  return nullptr;
}

}  // namespace

// The window removing things for real, in a fake home: nothing without a confirmation,
// exactly what was confirmed with one, and nothing left selected that the user did not see.
class RemovalFlowTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
    root_ = home_->path().toStdString();
    context_ = homeContext(home_->path());
    makeProject(root_ + "/code/web", "package.json", "node_modules", 60);
    makeProject(root_ + "/code/api", "Cargo.toml", "target", 2);
    makeProject(root_ + "/other/tool", "package.json", "node_modules", 60);
    context_.settings->set(DevSettings::projectRootsKey, std::vector<std::string>{root_ + "/code", root_ + "/other"});
  }
  void cleanup() { home_.reset(); }

  void cancelRemovesNothingAndConfirmRemovesExactlyTheSelection() {
    MainWindow window(context_, qtDispatcher());
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.showPane(Pane::projects);
    const auto& pane = window.panes().at(Pane::projects);
    QTRY_VERIFY_WITH_TIMEOUT(pane->loaded() && !pane->loading(), 30'000);
    const std::string chosen = root_ + "/code/web/node_modules";
    const DevItem* item = itemNamed(*pane, chosen);
    QVERIFY2(item, "the idle project's dependencies are listed");
    pane->setSelection({item->id});

    auto* view = window.findChild<QWidget*>(QStringLiteral("projects"));
    auto* action = view->findChild<QPushButton*>(QStringLiteral("action"));
    QVERIFY(action->isEnabled());
    QStringList seen;
    answerNextDialog(QStringLiteral("cancel"), &seen);
    QTest::mouseClick(action, Qt::LeftButton);
    QVERIFY(fs::exists(chosen));
    QCOMPARE(seen.size(), 3);
    QVERIFY2(seen[0].contains(action->text()) && seen[0].contains(QStringLiteral("1 item")), qPrintable(seen[0]));
    QCOMPARE(seen[1], QStringLiteral("delete ~/code/web/node_modules"));
    QCOMPARE(seen[2], QStringLiteral("cancel is the default"));
    QVERIFY(context_.history->entries().empty());

    // Delete asks the same question; confirming runs the action and loads again.
    // Off screen, closing a dialog gives the activation back to no window.
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    answerNextDialog(QStringLiteral("confirm"));
    view->findChild<QTreeView*>(QStringLiteral("items"))->setFocus();
    QTest::keyClick(view->findChild<QTreeView*>(QStringLiteral("items")), Qt::Key_Delete);
    QTRY_VERIFY_WITH_TIMEOUT(!fs::exists(chosen) && !pane->busy() && !pane->loading(), 30'000);
    QVERIFY(fs::exists(root_ + "/code/web/package.json"));
    QVERIFY(fs::exists(root_ + "/code/api/target/output.bin"));
    QVERIFY(fs::exists(root_ + "/other/tool/node_modules/output.bin"));
    const auto entries = context_.history->entries();
    QCOMPARE(entries.size(), std::size_t{1});
    QVERIFY(entries.front().bytes > 0);
    QVERIFY(view->findChild<QLabel*>(QStringLiteral("message"))->text().startsWith(QStringLiteral("Freed ")));

    // Only what the new load pre-selected is ticked: nothing carried over from before the run.
    std::set<std::string> preselected;
    for (const auto& group : pane->groups()) {
      for (const auto& listed : group->items()) {
        if (listed.selected) preselected.insert(listed.id);
      }
    }
    QCOMPARE(pane->selection().ids(), preselected);
  }

  void theConfirmationIsPhotographedInLightAndDark() {
    std::vector<DevItem> items(3);
    const auto name = [&](std::size_t index, std::string text, std::int64_t bytes) {
      items[index].name = std::move(text);
      items[index].freeable = bytes;
    };
    name(0, "node_modules", 1'840'000'000);
    name(1, "v16.20.2", 210'000'000);
    name(2, "DerivedData", 6'100'000'000);
    items[0].action = DevAction::removePaths({root_ + "/code/web/node_modules"});
    items[1].action = DevAction::commands({{"/usr/bin/bash", "-c", "nvm uninstall 16.20.2"}});
    items[2].action = DevAction::trash({root_ + "/Library/DerivedData"});
    items[2].warning = "Xcode is running; it rebuilds this folder on its next build.";
    const std::vector<std::string> actions{"delete ~/code/web/node_modules", "bash -c 'nvm uninstall 16.20.2'",
                                           "move to Trash: ~/Library/DerivedData"};
    for (const auto& [appearance, suffix] : photographedAppearances()) {
      applyAppearance(appearance);
      ConfirmRemovalDialog dialog(QStringLiteral("Delete Leftovers"), items, actions);
      dialog.show();
      QVERIFY(QTest::qWaitForWindowExposed(&dialog));
      QVERIFY(dialog.findChild<QLabel*>(QStringLiteral("confirmWarnings"))
                  ->text()
                  .contains(QStringLiteral("Xcode is running")));
      photograph(dialog, QStringLiteral("confirm") + suffix);
    }
    applyAppearance(Appearance::light);
  }

  void theRootsChipsAndTheStaleToggleChangeWhatLoadsAndWhatIsSaved() {
    MainWindow window(context_, qtDispatcher());
    window.show();
    window.showPane(Pane::projects);
    const auto& pane = window.panes().at(Pane::projects);
    QTRY_VERIFY_WITH_TIMEOUT(pane->loaded() && !pane->loading(), 30'000);
    QVERIFY(itemNamed(*pane, root_ + "/other/tool/node_modules"));
    auto* view = window.findChild<QWidget*>(QStringLiteral("projects"));
    auto* bar = view->findChild<RootsBar*>();
    QVERIFY(bar);

    QToolButton* removeOther = nullptr;
    for (auto* button : bar->findChildren<QToolButton*>(QStringLiteral("removeRoot"))) {
      if (button->accessibleName().contains(QString::fromStdString(root_ + "/other"))) removeOther = button;
    }
    QVERIFY(removeOther);
    QTest::mouseClick(removeOther, Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!pane->loading() && !itemNamed(*pane, root_ + "/other/tool/node_modules"), 30'000);
    Settings reread(context_.settings->path());
    QCOMPARE(DevSettings::configuredProjectRoots(reread), std::vector<std::string>{root_ + "/code"});
    QCOMPARE(bar->findChildren<QToolButton*>(QStringLiteral("removeRoot")).size(), 1);

    bar->addRoot(root_ + "/other");
    QTRY_VERIFY_WITH_TIMEOUT(!pane->loading() && itemNamed(*pane, root_ + "/other/tool/node_modules"), 30'000);
    Settings again(context_.settings->path());
    QCOMPARE(DevSettings::configuredProjectRoots(again), (std::vector<std::string>{root_ + "/code", root_ + "/other"}));

    // The stale filter hides the project worked on two days ago.
    auto* tree = view->findChild<QTreeView*>(QStringLiteral("items"));
    const auto shows = [tree](const QString& text) {
      for (int row = 0; row < tree->model()->rowCount(); ++row) {
        if (tree->model()->index(row, 0).data().toString().contains(text)) return true;
      }
      return false;
    };
    QVERIFY(shows(QStringLiteral("api")));
    view->findChild<QCheckBox*>(QStringLiteral("staleOnly"))->click();
    QVERIFY(pane->staleOnly());
    QVERIFY(!shows(QStringLiteral("api")));
    QVERIFY(shows(QStringLiteral("web")));
  }

  void theAdvisorSheetListsEachProjectsPackageManager() {
    MainWindow window(context_, qtDispatcher());
    window.show();
    window.showPane(Pane::projects);
    auto* view = window.findChild<QWidget*>(QStringLiteral("projects"));
    QTest::mouseClick(view->findChild<QPushButton*>(QStringLiteral("advisor")), Qt::LeftButton);
    auto* sheet = window.findChild<QDialog*>(QStringLiteral("advisorSheet"));
    QVERIFY(sheet && sheet->isVisible());
    auto* projects = sheet->findChild<QTreeWidget*>(QStringLiteral("advisorProjects"));
    QTRY_VERIFY_WITH_TIMEOUT(projects->topLevelItemCount() > 0, 30'000);
    QStringList listed;
    for (int row = 0; row < projects->topLevelItemCount(); ++row) {
      listed << projects->topLevelItem(row)->text(0) + QStringLiteral(" ") + projects->topLevelItem(row)->text(1);
    }
    listed.sort();
    QCOMPARE(listed, (QStringList{QStringLiteral("~/code/web npm"), QStringLiteral("~/other/tool npm")}));
    // Closing the sheet while it reads stops the reading; nothing reaches a sheet that is gone.
    sheet->close();
  }

 private:
  std::unique_ptr<QTemporaryDir> home_;
  std::string root_;
  Context context_;
};

}  // namespace tw::app

APP_TEST(tw::app::RemovalFlowTest)

#include "removal_flow_test.moc"

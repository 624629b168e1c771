#include <functional>

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <nlohmann/json.hpp>

#include "app/appearance.h"
#include "app/history_view.h"
#include "app/main_window.h"
#include "app/onboarding.h"
#include "app/qt_dispatcher.h"
#include "app/settings_window.h"
#include "app_test.h"
#include "automation/prefs.h"
#include "core/format.h"
#include "core/history.h"
#include "core/platform_words.h"
#include "core/settings.h"
#include "sample_home.h"
#include "widget_files.h"

namespace tw::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

QByteArray contents(const std::string& path) {
  QFile file(text(path));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const std::string& path, const QByteArray& bytes) {
  QVERIFY(QDir().mkpath(QFileInfo(text(path)).absolutePath()));
  QFile file(text(path));
  QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
  QCOMPARE(file.write(bytes), bytes.size());
}

// Three removals as the log keeps them: oldest first.
void writeThreeRemovals(const Context& context) {
  const nlohmann::json log = nlohmann::json::array({{{"id", "0b8a5a3e-5f6c-4d1e-9a51-4f8f2b7c0001"},
                                                     {"date", "2026-03-01T09:00:00Z"},
                                                     {"category", "Developer"},
                                                     {"name", "site/node_modules"},
                                                     {"bytes", 1'234'000'000},
                                                     {"restore", "Run npm install again"}},
                                                    {{"id", "0b8a5a3e-5f6c-4d1e-9a51-4f8f2b7c0002"},
                                                     {"date", "2026-04-02T10:30:00Z"},
                                                     {"category", "Trash"},
                                                     {"name", "old-backup.tar"},
                                                     {"bytes", 52'000'000}},
                                                    {{"id", "0b8a5a3e-5f6c-4d1e-9a51-4f8f2b7c0003"},
                                                     {"date", "2026-05-03T17:45:00Z"},
                                                     {"category", "Auto-clean · Smart Clean"},
                                                     {"name", "Caches"},
                                                     {"bytes", 800'000},
                                                     {"restore", "Rebuilt as apps run"}}});
  write(context.history->filePath(), QByteArray::fromStdString(log.dump()));
}

QStringList column(const QTableView& table, int column) {
  QStringList cells;
  for (int row = 0; row < table.model()->rowCount(); ++row)
    cells << table.model()->index(row, column).data().toString();
  return cells;
}

// Answers the next modal message box once it is up: `answer` looks at it and clicks.
void answerNextQuestion(std::function<void(QMessageBox&)> answer) {
  auto* poll = new QTimer(qApp);
  poll->setInterval(10);
  QObject::connect(poll, &QTimer::timeout, poll, [poll, answer = std::move(answer)] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box || !box->isVisible()) return;
    poll->stop();
    poll->deleteLater();
    answer(*box);
  });
  poll->start();
}

QAbstractButton* buttonNamed(QMessageBox& box, const QString& name) {
  for (QAbstractButton* button : box.buttons()) {
    if (button->objectName() == name) return button;
  }
  return nullptr;
}

nlohmann::json savedSettings(const Context& context) {
  return nlohmann::json::parse(contents(context.settings->path()).toStdString(), nullptr, false);
}

// A project: a folder with a manifest in it.
void makeProject(const QString& home, const QString& folder, const QString& manifest) {
  const QDir root(home);
  QVERIFY(root.mkpath(folder));
  write(root.filePath(folder + QLatin1Char('/') + manifest).toStdString(), "{}\n");
}

bool ticked(const QWidget& window, const char* key) {
  return window.findChild<QCheckBox*>(QLatin1String(key))->isChecked();
}

int number(const QWidget& window, const char* key) { return window.findChild<QSpinBox*>(QLatin1String(key))->value(); }

}  // namespace

class ViewsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
    context_ = homeContext(home_->path());
  }
  void cleanup() { home_.reset(); }

  void theHistoryListsRemovalsNewestFirstWithTheirSizes() {
    writeThreeRemovals(context_);
    MainWindow window(context_, qtDispatcher());
    window.show();
    window.showPane(Pane::history);
    auto* table = window.findChild<QTableView*>(QStringLiteral("entries"));
    QVERIFY(table && table->isVisible());

    QCOMPARE(
        column(*table, HistoryView::nameColumn),
        (QStringList{QStringLiteral("Caches"), QStringLiteral("old-backup.tar"), QStringLiteral("site/node_modules")}));
    QCOMPARE(column(*table, HistoryView::sizeColumn),
             (QStringList{text(byteFormatter(800'000)), text(byteFormatter(52'000'000)),
                          text(byteFormatter(1'234'000'000))}));
    QCOMPARE(column(*table, HistoryView::sizeColumn).value(2), QStringLiteral("1.23 GB"));
    QCOMPARE(column(*table, HistoryView::restoreColumn),
             (QStringList{QStringLiteral("Rebuilt as apps run"), QString(), QStringLiteral("Run npm install again")}));
    QCOMPARE(column(*table, HistoryView::categoryColumn).value(0), QStringLiteral("Auto-clean · Smart Clean"));

    // A removal made while the window is open shows the next time the view is shown.
    context_.history->record("Developer", "api/target", 7'000'000'000, std::nullopt);
    window.showPane(Pane::overview);
    window.showPane(Pane::history);
    QCOMPARE(table->model()->rowCount(), 4);
    QCOMPARE(table->model()->index(0, HistoryView::nameColumn).data().toString(), QStringLiteral("api/target"));
  }

  void typingInTheSearchFieldNarrowsTheRowsByNameCategoryOrHint() {
    writeThreeRemovals(context_);
    MainWindow window(context_, qtDispatcher());
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.showPane(Pane::history);
    auto* table = window.findChild<QTableView*>(QStringLiteral("entries"));
    auto* search = window.findChild<QLineEdit*>(QStringLiteral("search"));
    QVERIFY(table && search);

    // Ctrl+F reaches the field from anywhere in the window while the history is shown.
    table->setFocus();
    QTest::keyClick(&window, Qt::Key_F, Qt::ControlModifier);
    QVERIFY(search->hasFocus());

    QTest::keyClicks(search, QStringLiteral("BACKUP"));  // by name, any case
    QCOMPARE(column(*table, HistoryView::nameColumn), QStringList{QStringLiteral("old-backup.tar")});
    search->clear();
    QTest::keyClicks(search, QStringLiteral("auto-clean"));  // by category
    QCOMPARE(column(*table, HistoryView::nameColumn), QStringList{QStringLiteral("Caches")});
    search->clear();
    QTest::keyClicks(search, QStringLiteral("npm install"));  // by restore hint
    QCOMPARE(column(*table, HistoryView::nameColumn), QStringList{QStringLiteral("site/node_modules")});
    search->clear();
    QTest::keyClicks(search, QStringLiteral("nothing like this"));
    QCOMPARE(table->model()->rowCount(), 0);
    auto* note = window.findChild<QWidget*>(QStringLiteral("history"))->findChild<QLabel*>(QStringLiteral("note"));
    QVERIFY(note && note->isVisible() && note->text().contains(QStringLiteral("nothing like this")));
    search->clear();
    QCOMPARE(table->model()->rowCount(), 3);
  }

  void clearingTheHistoryAsksFirstAndCancelKeepsIt() {
    writeThreeRemovals(context_);
    const QByteArray before = contents(context_.history->filePath());
    HistoryView view(context_);
    view.show();
    auto* clear = view.findChild<QPushButton*>(QStringLiteral("clearHistory"));
    QVERIFY(clear && clear->isEnabled());

    bool cancelWasDefault = false;
    answerNextQuestion([&](QMessageBox& box) {
      cancelWasDefault = box.defaultButton() == box.button(QMessageBox::Cancel);
      // Return presses the default button: the answer a hurried user gives.
      QTest::keyClick(&box, Qt::Key_Return);
    });
    clear->click();
    QVERIFY(cancelWasDefault);
    QCOMPARE(contents(context_.history->filePath()), before);
    QCOMPARE(view.findChild<QTableView*>(QStringLiteral("entries"))->model()->rowCount(), 3);

    answerNextQuestion([&](QMessageBox& box) { buttonNamed(box, QStringLiteral("confirm"))->click(); });
    clear->click();
    QVERIFY(context_.history->entries().empty());
    QVERIFY(!QFile::exists(text(context_.history->filePath())));
    QCOMPARE(view.findChild<QTableView*>(QStringLiteral("entries"))->model()->rowCount(), 0);
    QVERIFY(!clear->isEnabled());
  }

  void aDamagedHistoryFileShowsAsAnEmptyTable() {
    // An array cut short at a value that is not text, then bytes of nothing.
    QByteArray garbage = QByteArray("[{\"id\": \"x\", \"date\": 12, \"bytes\": ") + QByteArray("\xff\xfe\x00\x01", 4);
    garbage.append(QByteArray(4096, '\x9c'));
    write(context_.history->filePath(), garbage);
    HistoryView view(context_);
    view.show();
    auto* table = view.findChild<QTableView*>(QStringLiteral("entries"));
    auto* note = view.findChild<QLabel*>(QStringLiteral("note"));
    QVERIFY(table && note);
    QCOMPARE(table->model()->rowCount(), 0);
    QVERIFY(note->isVisible());
    // Reading it leaves it as it was.
    QCOMPARE(contents(context_.history->filePath()), garbage);
  }

  void theHistoryIsPhotographedInLightAndDark() {
    writeThreeRemovals(context_);
    for (const auto& [appearance, suffix] : photographedAppearances()) {
      applyAppearance(appearance);
      MainWindow window(context_, qtDispatcher());
      window.show();
      window.showPane(Pane::history);
      QApplication::processEvents();
      photograph(window, QStringLiteral("history") + suffix);
    }
    applyAppearance(Appearance::light);
  }

  void theSettingsOfAFreshHomeShowTheDefaultsAndWriteNothing() {
    MainWindow main(context_, qtDispatcher());
    main.show();
    QVERIFY(QTest::qWaitForWindowActive(&main));
    QTest::keyClick(&main, Qt::Key_Comma, Qt::ControlModifier);
    auto* window = main.findChild<SettingsWindow*>();
    QVERIFY(window && window->isVisible());

    for (const char* on : {Prefs::menuBarEnabled, Prefs::menuBarShowsFree, Prefs::lowSpaceAlert}) {
      QVERIFY2(ticked(*window, on), on);
    }
    for (const char* off :
         {Prefs::ruleSmartClean, Prefs::ruleDerivedData, Prefs::ruleProjectLeftovers, Prefs::ruleMergedWorktrees}) {
      QVERIFY2(!ticked(*window, off), off);
    }
    // The status icon is named for where this desktop shows it.
    QCOMPARE(window->findChild<QCheckBox*>(QLatin1String(Prefs::menuBarEnabled))->text(),
             QStringLiteral("Show Tidewarden in ") + text(platformWords().statusArea));
    QCOMPARE(number(*window, Prefs::lowSpaceGB), 20);
    QCOMPARE(number(*window, Prefs::ruleIntervalDays), 7);
    QCOMPARE(number(*window, Prefs::ruleProjectLeftoverDays), 60);
    QCOMPARE(window->findChild<QListWidget*>(QStringLiteral("projectRoots"))->count(), 0);
    QVERIFY(!window->findChild<QCheckBox*>(QStringLiteral("openAtLogin"))->isChecked());
    QVERIFY(!window->findChild<QLabel*>(QStringLiteral("damage"))->isVisible());
    // Looking changes nothing.
    QVERIFY(!QFile::exists(text(context_.settings->path())));
  }

  void aChangedSwitchAndThresholdAreSavedAndReadBack() {
    {
      SettingsWindow window(context_);
      window.show();
      auto* threshold = window.findChild<QSpinBox*>(QLatin1String(Prefs::lowSpaceGB));
      threshold->setFocus();
      threshold->selectAll();
      QTest::keyClicks(threshold, QStringLiteral("35"));
      window.findChild<QCheckBox*>(QLatin1String(Prefs::lowSpaceAlert))->click();
      window.findChild<QCheckBox*>(QLatin1String(Prefs::ruleMergedWorktrees))->click();
      QVERIFY(!threshold->isEnabled());  // the threshold means nothing without the alert

      const nlohmann::json saved = savedSettings(context_);
      QVERIFY2(saved.is_object(), contents(context_.settings->path()).constData());
      QCOMPARE(saved.value(Prefs::lowSpaceGB, 0), 35);
      QCOMPARE(saved.value(Prefs::lowSpaceAlert, true), false);
      QCOMPARE(saved.value(Prefs::ruleMergedWorktrees, false), true);
      photograph(window, QStringLiteral("settings"));
    }
    // Another process reading the same file, and a window opened later, see the same.
    const Context later = homeContext(home_->path());
    Prefs::registerDefaults(*later.settings);
    QCOMPARE(later.settings->integer(Prefs::lowSpaceGB), 35);
    QVERIFY(!later.settings->boolean(Prefs::lowSpaceAlert));
    SettingsWindow reopened(later);
    QCOMPARE(number(reopened, Prefs::lowSpaceGB), 35);
    QVERIFY(!ticked(reopened, Prefs::lowSpaceAlert));
    QVERIFY(ticked(reopened, Prefs::ruleMergedWorktrees));
    QVERIFY(ticked(reopened, Prefs::menuBarEnabled));
  }

  void projectRootsAreAddedAndRemovedInTheSettings() {
    const QString code = QDir(home_->path()).filePath(QStringLiteral("Code"));
    QVERIFY(QDir().mkpath(code));
    SettingsWindow window(context_);
    window.show();
    window.addProjectRoot(code);
    window.addProjectRoot(code + QStringLiteral("/"));  // the same folder once
    auto* roots = window.findChild<QListWidget*>(QStringLiteral("projectRoots"));
    QCOMPARE(roots->count(), 1);
    QCOMPARE(roots->item(0)->text(), QStringLiteral("~/Code"));
    QCOMPARE(DevSettings::configuredProjectRoots(*homeContext(home_->path()).settings),
             std::vector<std::string>{code.toStdString()});

    roots->setCurrentRow(0);
    window.findChild<QPushButton*>(QStringLiteral("removeProjectRoot"))->click();
    QCOMPARE(roots->count(), 0);
    // With none chosen the screens look in the home folder again.
    QCOMPARE(DevSettings::projectRoots(homeContext(home_->path())), std::vector<std::string>{context_.home});
  }

  void openAtLoginWritesAndRemovesTheAutostartEntry() {
    const QString entry = text(context_.configHome + "/autostart/tidewarden.desktop");
    SettingsWindow window(context_);
    window.show();
    auto* login = window.findChild<QCheckBox*>(QStringLiteral("openAtLogin"));
    login->click();
    QVERIFY(QFile::exists(entry));
    QVERIFY(!window.findChild<QLabel*>(QStringLiteral("loginProblem"))->isVisible());
    SettingsWindow reopened(context_);
    QVERIFY(reopened.findChild<QCheckBox*>(QStringLiteral("openAtLogin"))->isChecked());
    login->click();
    QVERIFY(!QFile::exists(entry));
  }

  void aDamagedSettingsFileIsShownAndLeftByteForByte() {
    // Cut short inside a key, with bytes that are not text.
    const QByteArray damaged = QByteArray("{\"lowSpaceGB\": 12, \"menuBar") + QByteArray("\xff\xfe\x00", 3);
    write(context_.settings->path(), damaged);
    SettingsWindow window(context_);
    window.show();
    auto* banner = window.findChild<QLabel*>(QStringLiteral("damage"));
    QVERIFY(banner && banner->isVisible());
    QVERIFY(banner->text().contains(text(context_.settings->path())));
    auto* alert = window.findChild<QCheckBox*>(QLatin1String(Prefs::lowSpaceAlert));
    QVERIFY(!alert->isEnabled());
    QCOMPARE(number(window, Prefs::lowSpaceGB), 20);  // the defaults, not half a file
    photograph(window, QStringLiteral("settings-damaged"));

    // Even a change that reaches the store some other way leaves the file alone.
    alert->setChecked(false);
    window.findChild<QSpinBox*>(QLatin1String(Prefs::lowSpaceGB))->setValue(50);
    window.addProjectRoot(home_->path());
    QCOMPARE(contents(context_.settings->path()), damaged);
  }

  void theSettingsArePhotographedDark() {
    applyAppearance(Appearance::dark);
    SettingsWindow window(context_);
    window.show();
    photograph(window, QStringLiteral("settings-dark"));
    applyAppearance(Appearance::light);
  }

  void theFirstStartOffersTheFoldersWithCodeAndSavesTheTickedOnes() {
    makeProject(home_->path(), QStringLiteral("Code/site"), QStringLiteral("package.json"));
    makeProject(home_->path(), QStringLiteral("Code/engine"), QStringLiteral("Cargo.toml"));
    makeProject(home_->path(), QStringLiteral("work/tool"), QStringLiteral("package.json"));
    write(QDir(home_->path()).filePath(QStringLiteral("Documents/notes.txt")).toStdString(), "notes\n");
    QVERIFY(Onboarding::needed(context_));

    Onboarding onboarding(context_);
    onboarding.show();
    auto* folders = onboarding.findChild<QListWidget*>(QStringLiteral("codeFolders"));
    QTRY_COMPARE_WITH_TIMEOUT(folders->count(), 2, 10'000);
    // The fullest first; a folder without projects is not offered.
    QCOMPARE(folders->item(0)->text(), QStringLiteral("~/Code  ·  2 projects"));
    QCOMPARE(folders->item(1)->text(), QStringLiteral("~/work  ·  1 project"));
    QCOMPARE(folders->item(1)->checkState(), Qt::Checked);
    photograph(onboarding, QStringLiteral("onboarding"));

    folders->item(1)->setCheckState(Qt::Unchecked);
    onboarding.findChild<QPushButton*>(QStringLiteral("continue"))->click();
    QCOMPARE(onboarding.result(), int(QDialog::Accepted));
    const Context later = homeContext(home_->path());
    QCOMPARE(DevSettings::configuredProjectRoots(*later.settings),
             std::vector<std::string>{QDir(home_->path()).filePath(QStringLiteral("Code")).toStdString()});
    QVERIFY(!Onboarding::needed(later));

    // Asked for, it comes again.
    Context asked = later;
    asked.env["TIDEWARDEN_ONBOARDING"] = "1";
    QVERIFY(Onboarding::needed(asked));
  }

  void onboardingIsPhotographedDark() {
    makeProject(home_->path(), QStringLiteral("src/app"), QStringLiteral("Cargo.toml"));
    applyAppearance(Appearance::dark);
    Onboarding onboarding(context_);
    onboarding.show();
    QTRY_COMPARE_WITH_TIMEOUT(onboarding.findChild<QListWidget*>(QStringLiteral("codeFolders"))->count(), 1, 10'000);
    photograph(onboarding, QStringLiteral("onboarding-dark"));
    applyAppearance(Appearance::light);
  }

 private:
  std::unique_ptr<QTemporaryDir> home_;
  Context context_;
};

}  // namespace tw::app

APP_TEST(tw::app::ViewsTest)

#include "views_test.moc"

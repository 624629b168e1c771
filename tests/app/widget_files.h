#pragma once

#include <array>
#include <utility>

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QTest>
#include <QWidget>

#include "app/appearance.h"

namespace tw::app {

// Writes `bytes` to `path`, making its folders first.
inline void writeBytes(const QString& path, const QByteArray& bytes) {
  QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
  QFile file(path);
  QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
  QCOMPARE(file.write(bytes), bytes.size());
}

// The appearances every view is photographed in, each with the ending of its picture's name.
inline std::array<std::pair<Appearance, QString>, 2> photographedAppearances() {
  return {{{Appearance::light, QString()}, {Appearance::dark, QStringLiteral("-dark")}}};
}

// Saves what `widget` shows as <name>.png in the build's screenshots folder.
inline void photograph(QWidget& widget, const QString& name) {
  const QDir folder(QStringLiteral(TIDEWARDEN_SCREENSHOT_DIR));
  QVERIFY(folder.mkpath(QStringLiteral(".")));
  QApplication::processEvents();
  QVERIFY(widget.grab().save(folder.filePath(name + QStringLiteral(".png"))));
}

// A menu's entries as shown, "—" for a separator.
inline QStringList actionTexts(const QMenu& menu) {
  QStringList texts;
  for (const QAction* action : menu.actions()) texts << (action->isSeparator() ? QStringLiteral("—") : action->text());
  return texts;
}

// The menu's entry that reads `name`, or null.
inline QAction* actionNamed(const QMenu& menu, const QString& name) {
  for (QAction* action : menu.actions()) {
    if (action->text() == name) return action;
  }
  return nullptr;
}

}  // namespace tw::app

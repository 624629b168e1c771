#include "app/reveal.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace tw::app {

void revealInFileManager(const QString& path) {
  const QFileInfo info(path);
  QDesktopServices::openUrl(QUrl::fromLocalFile(info.isDir() ? path : info.absolutePath()));
}

}  // namespace tw::app

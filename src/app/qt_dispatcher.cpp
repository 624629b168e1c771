#include "app/qt_dispatcher.h"

#include <QCoreApplication>
#include <QMetaObject>

namespace tw::app {

Dispatcher qtDispatcher() {
  // The application object outlives every pane (the window owns them and goes first), and
  // a pane joins its workers before it goes, so the receiver is alive for every post.
  QCoreApplication* receiver = QCoreApplication::instance();
  return [receiver](std::function<void()> closure) {
    QMetaObject::invokeMethod(receiver, std::move(closure), Qt::QueuedConnection);
  };
}

}  // namespace tw::app

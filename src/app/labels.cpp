#include "app/labels.h"

namespace tw::app {

QLabel* titleLabel(const QString& text, QWidget* parent) {
  auto* title = new QLabel(text, parent);
  QFont font = title->font();
  font.setPointSizeF(font.pointSizeF() * 1.6);
  font.setBold(true);
  title->setFont(font);
  return title;
}

QLabel* quietLabel(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setWordWrap(true);
  label->setForegroundRole(QPalette::PlaceholderText);
  return label;
}

}  // namespace tw::app

#include "app/appearance.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>

namespace tw::app {
namespace {

QPalette darkPalette() {
  // Lists a little lighter than the window, so that the style's outlines (drawn darker
  // than the window) stand out around check boxes and fields.
  const QColor window(0x26, 0x28, 0x2b);
  const QColor base(0x31, 0x33, 0x37);
  const QColor text(0xe8, 0xe8, 0xea);
  const QColor disabledText(0x80, 0x82, 0x88);
  QPalette palette;
  palette.setColor(QPalette::Window, window);
  palette.setColor(QPalette::WindowText, text);
  palette.setColor(QPalette::Base, base);
  palette.setColor(QPalette::AlternateBase, window);
  palette.setColor(QPalette::ToolTipBase, base);
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, disabledText);
  palette.setColor(QPalette::Text, text);
  palette.setColor(QPalette::Button, window);
  palette.setColor(QPalette::ButtonText, text);
  palette.setColor(QPalette::BrightText, Qt::white);
  palette.setColor(QPalette::Light, window.lighter(130));
  palette.setColor(QPalette::Midlight, window.lighter(115));
  palette.setColor(QPalette::Mid, window.darker(120));
  palette.setColor(QPalette::Dark, window.darker(160));
  palette.setColor(QPalette::Shadow, Qt::black);
  palette.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xd6));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(0x6a, 0xa8, 0xff));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, disabledText);
  }
  return palette;
}

}  // namespace

Appearance appearanceFrom(const Context& context) {
  const std::string forced = context.variable("TIDEWARDEN_APPEARANCE");
  if (forced == "light") return Appearance::light;
  if (forced == "dark") return Appearance::dark;
  return Appearance::system;
}

void applyAppearance(Appearance appearance) {
  QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion"));
  QApplication::setStyle(fusion);
  switch (appearance) {
    case Appearance::light:
      QApplication::setPalette(fusion->standardPalette());
      break;
    case Appearance::dark:
      QApplication::setPalette(darkPalette());
      break;
    case Appearance::system:
      break;
  }
}

}  // namespace tw::app

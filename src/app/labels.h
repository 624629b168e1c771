#pragma once

#include <QLabel>

namespace tw::app {

// A view's title: large and bold.
[[nodiscard]] QLabel* titleLabel(const QString& text, QWidget* parent);
// Explaining words beside the controls: wrapped, in the palette's quieter colour.
[[nodiscard]] QLabel* quietLabel(const QString& text, QWidget* parent);

}  // namespace tw::app

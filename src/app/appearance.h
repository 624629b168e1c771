#pragma once

#include "core/context.h"

namespace tw::app {

enum class Appearance { system, light, dark };

// TIDEWARDEN_APPEARANCE=light|dark forces one; anything else follows the desktop.
[[nodiscard]] Appearance appearanceFrom(const Context& context);

// The Fusion style, with a light or dark palette when one is forced (Qt 6.4 has no colour
// scheme hint to follow), else the desktop's palette.
void applyAppearance(Appearance appearance);

}  // namespace tw::app

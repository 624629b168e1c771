#pragma once

#include <QString>

namespace tw::app {

// Opens the file manager on a folder, or on the folder that holds a file.
void revealInFileManager(const QString& path);

}  // namespace tw::app

#pragma once

#include "app/appearance.h"
#include "core/context.h"

namespace tw::app {

class MainWindow;

// With sample data on and TIDEWARDEN_SNAPSHOT_DELAY=N, waits N seconds once the window is
// up, saves a picture of the window showing each pane into the current folder (named by the
// pane's raw value, "-dark" appended in the dark appearance) and quits: 0 when every
// picture was saved, 1 otherwise. Without both, the window simply runs.
void scheduleSnapshots(MainWindow& window, const Context& context, Appearance appearance);

}  // namespace tw::app

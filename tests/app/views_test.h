#pragma once

namespace tw::app {

// The history, settings and first-start views' tests, run by the app tests' main.
int runViewsTests(int argc, char** argv);

}  // namespace tw::app

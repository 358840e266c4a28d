#pragma once

namespace tessra::app {

/// From here on Ctrl-C only asks the program to end after its current step; a second one ends it at once.
void catch_interrupts();
bool interrupted();

}  // namespace tessra::app

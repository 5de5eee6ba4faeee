// The few things the command needs from the terminal and the process:
// whether a stream is a terminal, whether colour is wanted, and Ctrl-C.
// The one place with code for each platform.
#pragma once
#include <atomic>
#include <cstdio>

namespace cli {

bool IsTerminal(std::FILE* stream);
// Colour only on a terminal and only when NO_COLOR is not set.
bool WantsColour(std::FILE* stream);
// From now on Ctrl-C sets the flag instead of ending the process; a
// second Ctrl-C ends it as usual.
void CatchInterrupt(std::atomic<bool>& flag);
void ReleaseInterrupt();

}  // namespace cli

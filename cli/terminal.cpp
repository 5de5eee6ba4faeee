#include "terminal.h"

#include <cstdlib>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <csignal>
#include <unistd.h>
#endif

namespace cli {
namespace {
std::atomic<bool>* g_flag = nullptr;
}

bool WantsColour(std::FILE* stream) {
    const char* noColour = std::getenv("NO_COLOR");
    return IsTerminal(stream) && !(noColour && *noColour);
}

#ifdef _WIN32

bool IsTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

namespace {
BOOL WINAPI OnControl(DWORD type) {
    if ((type == CTRL_C_EVENT || type == CTRL_BREAK_EVENT) && g_flag && !g_flag->exchange(true)) return TRUE;
    return FALSE;
}
}  // namespace

void CatchInterrupt(std::atomic<bool>& flag) {
    g_flag = &flag;
    SetConsoleCtrlHandler(OnControl, TRUE);
}
void ReleaseInterrupt() {
    SetConsoleCtrlHandler(OnControl, FALSE);
    g_flag = nullptr;
}

#else

bool IsTerminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

namespace {
void OnInterrupt(int) {
    if (g_flag && !g_flag->exchange(true)) return;
    std::signal(SIGINT, SIG_DFL);
    std::raise(SIGINT);
}
}  // namespace

void CatchInterrupt(std::atomic<bool>& flag) {
    g_flag = &flag;
    std::signal(SIGINT, OnInterrupt);
}
void ReleaseInterrupt() {
    std::signal(SIGINT, SIG_DFL);
    g_flag = nullptr;
}

#endif

}  // namespace cli

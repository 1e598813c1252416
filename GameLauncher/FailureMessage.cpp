#include "GameLauncher/FailureMessage.h"

void ShowFailureMessage(LaunchStage stage, DWORD lastError, bool reinstallHint)
{
    WCHAR message[1280] = {};
    wsprintfW(message, WIDE("Failed to start Brenvault %sgame executable (error code %02x%04x)!%s"),
              WIDE(" "), static_cast<DWORD>(stage), lastError,
              reinstallHint ? WIDE("\n\nRe-installing the game may fix this problem.") : WIDE(""));
    MessageBoxW(nullptr, message, WIDE("The Brenvault Launcher"), MB_ICONERROR);
}

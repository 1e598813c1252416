// The one thing of the launcher that a player can see.
#pragma once

#include "GameLauncher/LaunchStage.h"
#include "Platform/Win32.h"

// Shows the error box and returns when the player has closed it. The error code in its text is the stage's
// two digits followed by the last error's four, more where a number needs them.
void ShowFailureMessage(LaunchStage stage, DWORD lastError, bool reinstallHint);

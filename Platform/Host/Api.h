// The host's side of Platform/Win32.h: one header a family. The sources lie one folder up.
#pragma once

#include "Platform/Host/Api/Errors.h"
#include "Platform/Host/Api/Files.h"
#include "Platform/Host/Api/Memory.h"
#include "Platform/Host/Api/Modules.h"
#include "Platform/Host/Api/Paths.h"
#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Api/Registry.h"
#include "Platform/Host/Api/RuntimeFormatting.h"
#include "Platform/Host/Api/RuntimeText.h"
#include "Platform/Host/Api/TextConversion.h"
#include "Platform/Host/Api/Threads.h"
#include "Platform/Host/Api/Time.h"
#include "Platform/Host/Api/Types.h"
#include "Platform/Host/Api/UserFormatting.h"
#include "Platform/Host/Api/UserInterface.h"

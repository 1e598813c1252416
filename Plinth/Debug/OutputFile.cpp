#include "Plinth/Debug/OutputFile.h"

#include "Plinth/Text/CTextBuilder.h"

namespace Plinth {

HANDLE OpenOutputFile(const CString& path, DWORD disposition, DWORD attributes)
{
    WCHAR buffer[1024];
    CWideTextBuilder wide(buffer, sizeof(buffer)); // stays empty, which is no file's name, without memory
    auto* const file = CreateFileW(wide.AppendUtf8(path.CStr(), path.GetLength()), GENERIC_WRITE,
                                   FILE_SHARE_READ, nullptr, disposition, attributes, nullptr);
    return file != INVALID_HANDLE_VALUE ? file : nullptr;
}

} // namespace Plinth

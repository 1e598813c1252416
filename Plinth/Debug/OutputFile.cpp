#include "Plinth/Debug/OutputFile.h"

#include "Plinth/FileSystem/PathText.h"

namespace Plinth {

HANDLE OpenOutputFile(const CString& path, DWORD disposition, DWORD attributes)
{
    try {
        CWidePathText wide(path.CStr(), path.GetLength());
        auto* const file = CreateFileW(wide.GetText(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, disposition,
                                       attributes, nullptr);
        return file != INVALID_HANDLE_VALUE ? file : nullptr;
    } catch (const CException&) {
        return nullptr;
    }
}

} // namespace Plinth

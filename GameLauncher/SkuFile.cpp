#include "GameLauncher/SkuFile.h"

#include "Plinth/Config/CIniFile.h"
#include "Plinth/FileSystem/CFileStream.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Plinth/Streams/CMemoryStream.h"
#include "Plinth/Streams/OpenMode.h"
#include "Plinth/Streams/WholeText.h"

using namespace Plinth;

namespace {

constexpr LPCWSTR SKU_PATH = WIDE("Data\\Base\\Pakk\\brenvaultsku.ini");
constexpr const char* SECTION = "GameUpdate";

CString PathOfSkuFile(LPCWSTR launcherFolder)
{
    CWideString path = WidenWhole(WithTrailingSeparator(NarrowWhole(launcherFolder), 0));
    path += SKU_PATH;
    return NarrowWhole(path.c_str());
}

// A missing file leaves the document empty. All that is open is closed when this returns.
void ReadDocument(CIniFile& document, const CString& path)
{
    CWindowsFileSystem files;
    CFileStream file(&files);
    if (file.Open(path, MODE_OPEN_EXISTING | MODE_READ | MODE_SHARE_READ | MODE_MISSING_OK)) {
        CMemoryStream text;
        text.CopyFrom(file, 0, true);
        document.Parse(text);
    }
}

} // namespace

SkuFile ReadSkuFile(LPCWSTR launcherFolder) noexcept
{
    try {
        CIniFile document;
        ReadDocument(document, PathOfSkuFile(launcherFolder));
        return {document.GetString(SECTION, "Info", ""), document.GetString(SECTION, "GameName", ""),
                document.GetString(SECTION, "ExecPath", "")};
    } catch (...) { // the game is more than its sku file, whatever is wrong with that
        return {};
    }
}

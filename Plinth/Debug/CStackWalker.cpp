#include "Plinth/Debug/CStackWalker.h"

#include "Plinth/Debug/DbgHelp.h"
#include "Plinth/Debug/Low32.h"
#include "Plinth/Debug/Symbols.h"
#include "Plinth/Text/ZeroTerminatedText.h"

#include <cstdint>
#include <cstring>

namespace Plinth {

void CStackWalker::Start(HANDLE process, HANDLE thread, const CONTEXT& context)
{
    process_ = process;
    thread_ = thread;
    context_ = context;
    frame_ = {};
    frame_.AddrPC.Offset = context.Eip;
    frame_.AddrPC.Mode = AddrModeFlat;
    frame_.AddrFrame.Offset = context.Ebp;
    frame_.AddrFrame.Mode = AddrModeFlat;
    frame_.AddrStack.Offset = context.Esp;
    frame_.AddrStack.Mode = AddrModeFlat;
    text_[0] = 0;
}

const char* CStackWalker::Next()
{
    text_[0] = 0;
    if (!SymbolsAreReady()) {
        return nullptr;
    }
    Platform::RunGuarded([this] {
        const DbgHelpFunctions& functions = symbolState.functions;
        if (functions.StackWalk(IMAGE_FILE_MACHINE_I386, process_, thread_, &frame_, &context_, nullptr,
                                functions.SymFunctionTableAccess, functions.SymGetModuleBase, nullptr)) {
            DescribeFrame();
        }
    });
    return text_[0] != 0 ? text_ : nullptr;
}

void CStackWalker::DescribeFrame()
{
    const auto& words = frame_.Params;
    FormatText(text_, sizeof(text_), "%04x:%08x  0x%08X 0x%08X 0x%08X 0x%08X  ", Low32(context_.SegCs),
               Low32(frame_.AddrPC.Offset), Low32(words[0]), Low32(words[1]), Low32(words[2]),
               Low32(words[3]));
    const std::size_t length = std::strlen(text_);
    DescribeAddress(text_ + length, static_cast<std::uint32_t>(sizeof(text_) - length), frame_.AddrPC.Offset);
}

} // namespace Plinth

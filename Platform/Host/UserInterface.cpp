#include "Platform/Host/Api/UserInterface.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/StandardError.h"
#include "Platform/Host/Utf.h"

namespace Platform::Host {

namespace {

MessageBoxHook& Hook()
{
    static MessageBoxHook hook;
    return hook;
}

bool PrintBox(const MessageBoxCall& call)
{
    return WriteToStandardError(ToHost(call.caption) + '\n' + ToHost(call.text) + '\n');
}

} // namespace

void SetMessageBoxHook(MessageBoxHook hook)
{
    Hook() = std::move(hook);
}

} // namespace Platform::Host

using namespace Platform::Host;

int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type)
{
    return Guarded("MessageBoxW", 0, [&]() -> int {
        const MessageBoxCall call{owner != nullptr, text != nullptr ? text : u"",
                                  caption != nullptr ? caption : u"Error", type};
        if (Hook()) {
            return Hook()(call);
        }
        return PrintBox(call) ? IDOK : Fail(ERROR_GEN_FAILURE);
    });
}

#include "Platform/Host/Api/RuntimeHandlers.h"

#include "Platform/Host/GateFlag.h"
#include "Platform/Host/InvalidArgument.h"

#include <atomic>

namespace Platform::Host {

namespace {

constinit std::atomic<_invalid_parameter_handler> currentHandler{nullptr};

} // namespace

void ReportInvalidArgument()
{
    if (const _invalid_parameter_handler handler = currentHandler) {
        handler(nullptr, nullptr, nullptr, 0, 0);
    }
}

} // namespace Platform::Host

using namespace Platform::Host;

_invalid_parameter_handler _set_invalid_parameter_handler(_invalid_parameter_handler handler)
{
    GateSees("_set_invalid_parameter_handler");
    return currentHandler.exchange(handler);
}

#include "Tests/Support/BoxAnswers.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Utf.h"

#include <utility>

namespace {

std::vector<AnsweredBox> boxes;
std::size_t refused;

} // namespace

BoxAnswers::BoxAnswers(BoxAnswer answer)
{
    boxes.clear();
    refused = 0;
    Platform::Host::SetMessageBoxHook([answer](const Platform::Host::MessageBoxCall& call) {
        constexpr short DOWN = -128;
        constexpr short TOGGLED = 1;
        Platform::Host::SetKeyState(answer != BoxAnswer::OK ? DOWN : TOGGLED);
        if (answer == BoxAnswer::NOT_SHOWN) {
            ++refused;
            return 0;
        }
        boxes.push_back({Platform::Host::ToHost(call.caption), Platform::Host::ToHost(call.text)});
        return IDOK;
    });
}

BoxAnswers::~BoxAnswers()
{
    Platform::Host::SetMessageBoxHook({});
    Platform::Host::SetKeyState(0);
}

std::vector<AnsweredBox> BoxAnswers::Take()
{
    boxes.resize(boxes.size() + std::exchange(refused, 0));
    return std::exchange(boxes, {});
}

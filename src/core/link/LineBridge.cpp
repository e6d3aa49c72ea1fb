#include "link/LineBridge.h"

#include <stdexcept>

#include "tools/Vb.h"

namespace kestrova {

using bridge::Answer;

LineBridge::LineBridge(Transport transport, std::string name, std::function<int64_t()> clock)
    : transport_(std::move(transport)), name_(std::move(name)), clock_(std::move(clock)) {}

void LineBridge::SyncClock() {
    if (!clock_ || clockRefused_) return;
    const int64_t now = clock_();
    if (now == clockSent_) return;
    clockSent_ = now;
    clockRefused_ = Call(bridge::op::Clock, {std::to_string(now)}).Failed;
}

Answer LineBridge::Call(const char* operation, const std::vector<std::string>& fields) {
    const std::string line = transport_(bridge::EncodeRequest(operation, fields));
    std::string problem;
    std::optional<Answer> answer = bridge::ParseAnswer(line, problem);
    if (!answer)
        throw VbError(bridge::kBridgeFailure, "The business object " + name_ + " answered " +
                                                  operation + " with " + problem);
    return std::move(*answer);
}

Variant LineBridge::Value(const char* operation, const std::vector<std::string>& fields) {
    SyncClock();
    Answer answer = Call(operation, fields);
    if (answer.Failed) throw VbError(answer.Number, answer.Description);
    return std::move(answer.Value);
}

void LineBridge::RegisterGui(const std::string& progId, const std::string& invokeId) {
    Value(bridge::op::RegisterGui, {progId, invokeId});
}

void LineBridge::UnregisterGui(const std::string& invokeId) {
    Value(bridge::op::UnregisterGui, {invokeId});
}

void LineBridge::CloseGui(const std::string& invokeId) {
    Value(bridge::op::CloseGui, {invokeId});
}

Variant LineBridge::SendCommand(const std::string& text) {
    return Value(bridge::op::SendCommand, {text});
}

void LineBridge::SetItem(const std::string& name, const Variant& value) {
    Value(bridge::op::SetItem, {name, bridge::EncodeValue(value)});
}

void LineBridge::NotifyGuiReleased() {
    Value(bridge::op::NotifyGuiReleased, {});
}

std::vector<ui::InventoryRecord> LineBridge::Inventory() {
    const std::string text = Value(bridge::op::UsbInventory, {}).ToText();
    std::string problem;
    auto records = bridge::ParseInventory(text, problem);
    if (!records)
        throw VbError(bridge::kBridgeFailure,
                      "The business object " + name_ + " answered the inventory with " + problem);
    return std::move(*records);
}

std::string LineBridge::Control(std::string_view line) {
    SyncClock();
    Answer answer = Call(bridge::op::Control, {std::string(line)});
    if (answer.Failed) throw std::invalid_argument(answer.Description);
    return answer.Value.ToText();
}

BusinessObject BridgeBusinessObject(LineBridge::Transport transport, std::string name,
                                    std::function<int64_t()> clock) {
    auto line =
        std::make_shared<LineBridge>(std::move(transport), std::move(name), std::move(clock));
    return BusinessObject{line, [line] { return line->Inventory(); },
                          [line](std::string_view text) { return line->Control(text); }};
}

}  // namespace kestrova

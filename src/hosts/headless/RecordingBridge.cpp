#include "RecordingBridge.h"

#include <cstdio>
#include <exception>
#include <string_view>

#include "tools/Vb.h"

namespace kestrova::headless {

namespace {

// Not JSON escaping: a record shows quotes, backslashes and any bytes as they came, and only
// control characters would break the line apart.
std::string OneLine(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        switch (c) {
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20 || c == 0x7F) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\x%02X", c);
                    out += buf;
                } else {
                    out += ch;
                }
        }
    }
    return out;
}

std::string ValueText(const Variant& value) {
    if (value.IsNull()) return "Null";
    return OneLine(value.ToText());
}

}  // namespace

RecordingBridge::RecordingBridge(std::shared_ptr<IGuiBridge> inner, size_t capacity)
    : inner_(std::move(inner)), capacity_(capacity < 2 ? 2 : capacity) {}

void RecordingBridge::Add(std::string line) {
    if (lines_.size() >= capacity_) {
        // Keep the newer half: a long unread run matters at its end.
        const size_t drop = lines_.size() / 2;
        lines_.erase(lines_.begin(), lines_.begin() + static_cast<std::ptrdiff_t>(drop));
        dropped_ += drop;
    }
    lines_.push_back(std::move(line));
}

template <class Fn>
auto RecordingBridge::Pass(Fn&& fn) {
    try {
        return fn();
    } catch (const VbError& e) {
        Add("< ERROR " + std::to_string(e.Number()) + ": " + OneLine(e.Description()));
        throw;
    } catch (const std::exception& e) {
        Add("< ERROR: " + OneLine(e.what()));
        throw;
    }
}

void RecordingBridge::RegisterGui(const std::string& progId, const std::string& invokeId) {
    Add("+ RegisterGui " + OneLine(progId) + " " + OneLine(invokeId));
    Pass([&] { inner_->RegisterGui(progId, invokeId); });
}

void RecordingBridge::UnregisterGui(const std::string& invokeId) {
    Add("- UnregisterGui " + OneLine(invokeId));
    Pass([&] { inner_->UnregisterGui(invokeId); });
}

void RecordingBridge::CloseGui(const std::string& invokeId) {
    Add("x CloseGui " + OneLine(invokeId));
    Pass([&] { inner_->CloseGui(invokeId); });
}

Variant RecordingBridge::SendCommand(const std::string& text) {
    Add("> " + OneLine(text));
    Variant answer = Pass([&] { return inner_->SendCommand(text); });
    const std::string shown = ValueText(answer);
    Add(shown.empty() ? "<" : "< " + shown);
    return answer;
}

void RecordingBridge::SetItem(const std::string& name, const Variant& value) {
    Add("= " + OneLine(name) + " " + ValueText(value));
    Pass([&] { inner_->SetItem(name, value); });
}

void RecordingBridge::NotifyGuiReleased() {
    Add("! NotifyGuiReleased");
    Pass([&] { inner_->NotifyGuiReleased(); });
}

std::vector<std::string> RecordingBridge::Lines() const {
    std::vector<std::string> out;
    out.reserve(lines_.size() + 1);
    if (dropped_) out.push_back("... " + std::to_string(dropped_) + " earlier lines dropped");
    out.insert(out.end(), lines_.begin(), lines_.end());
    return out;
}

std::vector<std::string> RecordingBridge::Take() {
    std::vector<std::string> out = Lines();
    lines_.clear();
    dropped_ = 0;
    return out;
}

}  // namespace kestrova::headless

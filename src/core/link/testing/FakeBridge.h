// A scriptable, recording business object for unit tests.
//
//   auto fake = std::make_shared<kestrova::FakeBridge>();
//   fake->Answer("USBDevice", "COM3");             // every "USBDevice" answers "COM3"
//   fake->Answer("IOL::Connect", true);            // any Variant: text, bool, number
//   fake->Queue("IOL::GetEvent", "OK:1,16,4,48,192,0,0");  // one-shot, used before the default
//   fake->Queue("IOL::GetEvent", "EMPTY:");
//   fake->Fail("IOL::GetMode", 91, "gone");        // SendCommand throws VbError(91, "gone")
//   fake->FailOnce("IOL::Disconnect", 5);          // throws once, then answers normally
//   ... exercise the code ...
//   EXPECT_EQ(fake->Sent(), (std::vector<std::string>{"USBDevice", "IOL::Connect"}));
//   EXPECT_EQ(fake->ItemsSet("LOGGER"), (std::vector<std::string>{"hello"}));
//   EXPECT_EQ(fake->Log().back(), (FakeBridge::Call{"SetItem", "LOGGER", "hello"}));
//
// A command with neither a queued nor a default answer answers the empty Variant (empty text).
// Every call, including the ones that throw, is logged before it answers.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "link/IGuiBridge.h"
#include "tools/Vb.h"

namespace kestrova {

class FakeBridge : public IGuiBridge {
  public:
    // One logged call: the operation's name, its first argument (command, item name, progId or
    // invoke id) and its second (item value, invoke id of RegisterGui; else empty).
    struct Call {
        std::string Op;
        std::string Text;
        Variant Value;
        bool operator==(const Call&) const = default;
    };

    // Scripting.
    void Answer(const std::string& command, Variant answer) {
        defaults_[command] = Reply{std::move(answer), std::nullopt};
    }
    void Queue(const std::string& command, Variant answer) {
        queued_[command].push_back(Reply{std::move(answer), std::nullopt});
    }
    void Fail(const std::string& command, int32_t number, const std::string& description = {}) {
        defaults_[command] = Reply{{}, VbError(number, description)};
    }
    void FailOnce(const std::string& command, int32_t number, const std::string& description = {}) {
        queued_[command].push_back(Reply{{}, VbError(number, description)});
    }
    // SetItem of this name throws.
    void FailSetItem(const std::string& name, int32_t number, const std::string& description = {}) {
        failingItems_.insert_or_assign(name, VbError(number, description));
    }

    // Inspection.
    const std::vector<Call>& Log() const { return log_; }
    void ClearLog() { log_.clear(); }
    // Texts given to SendCommand, in order.
    std::vector<std::string> Sent() const {
        std::vector<std::string> out;
        for (const Call& c : log_)
            if (c.Op == "SendCommand") out.push_back(c.Text);
        return out;
    }
    // How often a command was sent.
    int Count(const std::string& command) const {
        int n = 0;
        for (const Call& c : log_) n += c.Op == "SendCommand" && c.Text == command;
        return n;
    }
    // Values written to one item with SetItem, as text, in order.
    std::vector<std::string> ItemsSet(const std::string& name) const {
        std::vector<std::string> out;
        for (const Call& c : log_)
            if (c.Op == "SetItem" && c.Text == name) out.push_back(c.Value.ToText());
        return out;
    }
    // Number of logged calls of one operation ("RegisterGui", "NotifyGuiReleased", ...).
    int Calls(const std::string& op) const {
        int n = 0;
        for (const Call& c : log_) n += c.Op == op;
        return n;
    }

    // IGuiBridge.
    void RegisterGui(const std::string& progId, const std::string& invokeId) override {
        log_.push_back({"RegisterGui", progId, invokeId});
    }
    void UnregisterGui(const std::string& invokeId) override {
        log_.push_back({"UnregisterGui", invokeId, {}});
    }
    void CloseGui(const std::string& invokeId) override {
        log_.push_back({"CloseGui", invokeId, {}});
    }
    Variant SendCommand(const std::string& text) override {
        log_.push_back({"SendCommand", text, {}});
        Reply reply;
        if (auto q = queued_.find(text); q != queued_.end() && !q->second.empty()) {
            reply = std::move(q->second.front());
            q->second.pop_front();
        } else if (auto d = defaults_.find(text); d != defaults_.end()) {
            reply = d->second;
        }
        if (reply.Error) throw *reply.Error;
        return reply.Value;
    }
    void SetItem(const std::string& name, const Variant& value) override {
        log_.push_back({"SetItem", name, value});
        if (auto f = failingItems_.find(name); f != failingItems_.end()) throw f->second;
    }
    void NotifyGuiReleased() override { log_.push_back({"NotifyGuiReleased", {}, {}}); }

  private:
    struct Reply {
        Variant Value;
        std::optional<VbError> Error;
    };
    std::map<std::string, Reply> defaults_;
    std::map<std::string, std::deque<Reply>> queued_;
    std::map<std::string, VbError> failingItems_;
    std::vector<Call> log_;
};

}  // namespace kestrova

// A business object that lives elsewhere (another process, another machine), reached through the
// line protocol of BridgeProtocol.h: every call is one request line handed to a transport and
// one answer line back.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "link/BridgeProtocol.h"
#include "link/BusinessObject.h"
#include "link/IGuiBridge.h"
#include "ui/Services.h"

namespace kestrova {

class LineBridge : public IGuiBridge {
  public:
    // Sends one request line and answers the answer line. A transport that cannot (the other
    // side is gone, no answer in time) throws VbError with a description a person can read.
    using Transport = std::function<std::string(const std::string& request)>;

    // name says in failure texts which business object failed. With a clock, the host's time
    // goes ahead of any call made after it moved ("Clock MS"), so a simulated master on the
    // other side keeps the host's time; a bridge that refuses it is not asked again.
    LineBridge(Transport transport, std::string name, std::function<int64_t()> clock = {});

    void RegisterGui(const std::string& progId, const std::string& invokeId) override;
    void UnregisterGui(const std::string& invokeId) override;
    void CloseGui(const std::string& invokeId) override;
    Variant SendCommand(const std::string& text) override;
    void SetItem(const std::string& name, const Variant& value) override;
    void NotifyGuiReleased() override;

    // The USB inventory the bridge reports; throws VbError when it cannot.
    std::vector<ui::InventoryRecord> Inventory();
    // A control line of a simulated master; the bridge's refusal throws std::invalid_argument
    // with its description.
    std::string Control(std::string_view line);

  private:
    bridge::Answer Call(const char* operation, const std::vector<std::string>& fields);
    Variant Value(const char* operation, const std::vector<std::string>& fields);
    void SyncClock();

    Transport transport_;
    std::string name_;
    std::function<int64_t()> clock_;
    int64_t clockSent_ = -1;
    bool clockRefused_ = false;
};

// A bridge over the transport, with its inventory and control lines.
BusinessObject BridgeBusinessObject(LineBridge::Transport transport, std::string name,
                                    std::function<int64_t()> clock = {});

}  // namespace kestrova

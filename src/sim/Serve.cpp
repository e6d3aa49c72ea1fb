#include "Serve.h"

#include <charconv>
#include <istream>
#include <ostream>
#include <stdexcept>

#include "link/BridgeProtocol.h"
#include "tools/Vb.h"

namespace kestrova::sim {

namespace {

std::string Done() {
    return bridge::EncodeValue(Variant());
}

std::string Refuse(const std::string& problem) {
    return bridge::EncodeError(vberr::InvalidProcedureCall, problem);
}

}  // namespace

Server::Server(Options options) : sim_(options, [this] { return Now(); }) {}

int64_t Server::Now() const {
    if (hostMs_) return *hostMs_;
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start_)
        .count();
}

std::string Server::Answer(std::string_view line) {
    namespace op = bridge::op;
    std::string problem;
    const std::optional<bridge::Request> request = bridge::ParseRequest(line, problem);
    if (!request) return Refuse(problem);
    const std::string& name = request->Operation;
    const std::vector<std::string>& f = request->Fields;
    try {
        if (name == op::SendCommand) return bridge::EncodeValue(sim_.SendCommand(f[0]));
        if (name == op::SetItem) {
            const std::optional<Variant> value = bridge::ParseValue(f[1], problem);
            if (!value) return Refuse(problem);
            sim_.SetItem(f[0], *value);
        } else if (name == op::RegisterGui) {
            sim_.RegisterGui(f[0], f[1]);
        } else if (name == op::UnregisterGui) {
            sim_.UnregisterGui(f[0]);
        } else if (name == op::CloseGui) {
            sim_.CloseGui(f[0]);
        } else if (name == op::NotifyGuiReleased) {
            sim_.NotifyGuiReleased();
        } else if (name == op::UsbInventory) {
            return bridge::EncodeValue(bridge::EncodeInventory(sim_.Inventory()));
        } else if (name == op::Clock) {
            int64_t ms = 0;
            const char* end = f[0].data() + f[0].size();
            const auto [ptr, ec] = std::from_chars(f[0].data(), end, ms);
            if (ec != std::errc() || ptr != end || ms < 0 || f[0].empty())
                return Refuse("Clock needs milliseconds, not '" + f[0] + "'");
            hostMs_ = ms;
        } else if (name == op::Control) {
            return bridge::EncodeValue(sim_.Control(f[0]));
        }
        return Done();
    } catch (const VbError& e) {
        return bridge::EncodeError(e.Number(), e.Description());
    } catch (const std::exception& e) {
        return Refuse(e.what());
    }
}

int RunServe(Server& server, std::istream& in, std::ostream& out) {
    std::string line;
    while (std::getline(in, line)) {
        out << server.Answer(line) << '\n';
        out.flush();
        if (!out) return 1;
    }
    return 0;
}

}  // namespace kestrova::sim

#include "Simulator.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "SimDevice.h"
#include "tools/NumberFormats.h"
#include "tools/Vb.h"

namespace kestrova::sim {

namespace {

constexpr int64_t kEstablishMs = 200;  // wake-up and start-up of the device
constexpr int64_t kResetMs = 500;      // a master back on the bus before it reopens its port
constexpr size_t kEventCapacity = 64;
constexpr size_t kLogCapacity = 10000;
constexpr int64_t kSampleMs = 50;  // resolution of the watch on the process value
constexpr int64_t kMaxCatchUpMs = 3'600'000;

// The last kLogCapacity LOGGER lines. Once full the oldest slot is overwritten, so a line costs
// the same after hours of a session as at its start.
struct LogRing {
    std::vector<std::string> lines;
    size_t oldest = 0;

    void Add(std::string line) {
        if (lines.size() < kLogCapacity) {
            lines.push_back(std::move(line));
            return;
        }
        lines[oldest] = std::move(line);
        oldest = (oldest + 1) % kLogCapacity;
    }
    std::vector<std::string> InOrder() const {
        const auto split = lines.begin() + static_cast<std::ptrdiff_t>(oldest);
        std::vector<std::string> out(split, lines.end());
        out.insert(out.end(), lines.begin(), split);
        return out;
    }
};

// Master error numbers carried by failure answers (ISDU errors come as the device gives them).
constexpr int32_t kCommunicationError = 0x1000;  // port not open or not communicating
constexpr int32_t kWrongArguments = 0x5700;
constexpr int32_t kUnknownCommand = 0x5800;
constexpr int32_t kAutomationError = -2147467259;  // E_FAIL

constexpr const char* kDtmDate = "2024-11-18";
constexpr const char* kDtmVersion = "1.4.2";

std::string Failure(int32_t number) {
    return "ERROR:" + std::to_string(number);
}

// Event origins, carried in the last field of an event answer.
constexpr int32_t kFromDevice = 0;
constexpr int32_t kFromMaster = 1;

struct SimEvent {
    int32_t code, instance, type, mode, origin;
};

enum class PortMode { Inactive, IOLink, Sio };

struct Master {
    std::string product;  // four characters, as "GetProduct" starts
    std::string port;
    std::string revision;
    std::string serial;
    bool plugged = true;
    bool reset = false;     // came up while running: reports RESET until connected
    bool resume = false;    // its port was open when it went: it reopens the port when back
    int64_t resumeAt = -1;  // when a master that came back reopens its port
    Device device;
    std::deque<SimEvent> events;
    size_t dropped = 0;
    PortMode mode = PortMode::Inactive;
    int modeNumber = 0;  // the last mode set, reported by "GetMode"
    int64_t readyAt = 0;
    uint8_t target = 0;  // requested cycle code (0: as fast as the device allows)
    int64_t sampledTo = 0;
    bool outOfRange = false;
};

enum class GarbleKind { Text, Truncate, Empty };

struct Rule {
    enum Kind { Answer, Throw, Garble } kind;
    std::string prefix;  // "*" matches every command
    int remaining;
    std::string answer = {};
    int32_t number = 0;
    std::string description = {};
    GarbleKind garble = GarbleKind::Text;
};

bool Matches(const std::string& prefix, std::string_view text) {
    return prefix == "*" || text.starts_with(prefix);
}

// --- strict parsing of command arguments ---

bool ParseInt(std::string_view s, int64_t min, int64_t max, int64_t& out) {
    const bool negative = !s.empty() && s[0] == '-';
    const std::string_view digits = negative ? s.substr(1) : s;
    if (digits.empty() || digits.size() > 10) return false;
    int64_t v = 0;
    for (char c : digits) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    out = negative ? -v : v;
    return out >= min && out <= max;
}

// "Key=value Key=value": the keys in this order, one blank between; with rest the last value
// runs to the end of the text (it may be empty or hold blanks).
bool ParseArgs(std::string_view args, std::initializer_list<std::string_view> keys,
               std::vector<std::string_view>& values, bool rest = false) {
    values.clear();
    size_t i = 0;
    for (std::string_view key : keys) {
        const bool last = ++i == keys.size();
        if (!args.starts_with(key) || args.size() <= key.size() || args[key.size()] != '=')
            return false;
        args.remove_prefix(key.size() + 1);
        if (last && rest) {
            values.push_back(args);
            return true;
        }
        const size_t blank = args.find(' ');
        values.push_back(args.substr(0, blank));
        if (values.back().empty()) return false;
        if (last) return blank == std::string_view::npos;
        if (blank == std::string_view::npos) return false;
        args.remove_prefix(blank + 1);
    }
    return keys.size() == 0 && args.empty();
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Two hex digits per byte, one blank between bytes; the empty text is no bytes.
bool ParseHexBytes(std::string_view s, Bytes& out) {
    out.clear();
    if (s.empty()) return true;
    for (size_t i = 0;; i += 3) {
        if (i + 2 > s.size()) return false;
        const int hi = HexDigit(s[i]), lo = HexDigit(s[i + 1]);
        if (hi < 0 || lo < 0) return false;
        out.push_back(static_cast<uint8_t>(hi * 16 + lo));
        if (i + 2 == s.size()) return true;
        if (s[i + 2] != ' ') return false;
    }
}

std::string JoinBytes(const Bytes& bytes) {
    std::string s;
    for (uint8_t b : bytes) s += " " + std::to_string(b);
    return s;
}

// --- control lines ---

[[noreturn]] void Bad(const std::string& message) {
    throw std::invalid_argument(message);
}

// Blank-separated words; a word may be put in double quotes to hold blanks or be empty.
std::vector<std::string> Words(std::string_view line) {
    std::vector<std::string> words;
    size_t i = 0;
    while (true) {
        while (i < line.size() && line[i] == ' ') ++i;
        if (i >= line.size()) return words;
        if (line[i] == '"') {
            const size_t end = line.find('"', i + 1);
            if (end == std::string_view::npos) Bad("unterminated quote");
            words.emplace_back(line.substr(i + 1, end - i - 1));
            i = end + 1;
            if (i < line.size() && line[i] != ' ') Bad("blank expected after a quoted word");
        } else {
            const size_t end = std::min(line.find(' ', i), line.size());
            words.emplace_back(line.substr(i, end - i));
            i = end;
        }
    }
}

int64_t Number(const std::string& word, int64_t min, int64_t max, const char* what) {
    int64_t v = 0;
    bool ok;
    if (word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X')) {
        ok = word.size() <= 10;
        for (size_t i = 2; ok && i < word.size(); ++i) {
            const int d = HexDigit(word[i]);
            ok = d >= 0;
            v = v * 16 + d;
        }
        ok = ok && v >= min && v <= max;
    } else {
        ok = ParseInt(word, min, max, v);
    }
    if (!ok)
        Bad(std::string(what) + " must be a number from " + std::to_string(min) + " to " +
            std::to_string(max) + ", not '" + word + "'");
    return v;
}

std::string NormalProduct(const std::string& word) {
    if (word == "    " || word == "unreadable") return "    ";
    bool hex = word.size() == 4;
    for (char c : word) hex = hex && HexDigit(c) >= 0;
    if (!hex) Bad("product id must be four hex digits or \"unreadable\", not '" + word + "'");
    return LCase(word);
}

std::string NormalPort(const std::string& word) {
    int64_t n = 0;
    if (word.size() < 4 || !IEquals(word.substr(0, 3), "COM") ||
        !ParseInt(word.substr(3), 1, 256, n))
        Bad("port must be COM1 to COM256, not '" + word + "'");
    return "COM" + std::to_string(n);
}

std::string Revision(const std::string& product) {
    if (product == "7c31") return "2.01";
    if (product == "7c32") return "1.10";
    if (product == "7c33") return "3.00";
    return "1.00";
}

int32_t LanguageFromEnvironment() {
    const char* lang = std::getenv("LANG");
    return lang && (lang[0] == 'd' || lang[0] == 'D') && (lang[1] == 'e' || lang[1] == 'E') ? 1031
                                                                                            : 1033;
}

}  // namespace

struct Simulator::Impl {
    Options options;
    std::function<int64_t()> clock;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    int64_t offset = 0;
    std::vector<Master> masters;
    std::string selected;  // the port chosen as "USBDevice"
    bool open = false;     // the port of the master in use is held open
    int32_t language = 1033;
    std::string defaultProfile;
    LogRing log;
    std::vector<std::string> guis;  // registered invoke ids
    bool closeRequested = false;
    bool released = false;
    std::vector<Rule> rules;
    std::vector<std::pair<std::string, int64_t>> latency;
    int serials = 0;
    std::mutex mutex;

    // --- time ---

    int64_t Now() const {
        int64_t base = 0;
        if (clock)
            base = clock();
        else if (options.realtime)
            base = std::chrono::duration_cast<std::chrono::milliseconds>(
                       std::chrono::steady_clock::now() - start)
                       .count();
        return base + offset;
    }

    void Wait(int64_t ms) {
        if (ms <= 0) return;
        if (options.realtime)
            std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        else
            offset += ms;
    }

    // --- masters and the port ---

    Master* Find(std::string_view port) {
        for (Master& m : masters)
            if (m.plugged && IEquals(m.port, port)) return &m;
        return nullptr;
    }
    Master* InUse() { return selected.empty() ? nullptr : Find(selected); }
    Master* Opened() { return open ? InUse() : nullptr; }

    bool Operating(const Master& m) const {
        return m.mode == PortMode::IOLink && m.device.profile->present && Now() >= m.readyAt;
    }

    std::string Word() {
        const Master* m = InUse();
        if (!m) return "OFFLINE";
        if (!open) return m->reset ? "RESET" : "OFFLINE";
        switch (m->mode) {
            case PortMode::Sio:
                return "SIO";
            case PortMode::IOLink:
                return Operating(*m) ? "ONLINE+" : "ONLINE-";
            default:
                return "OFFLINE";
        }
    }

    void Queue(Master& m, SimEvent e) {
        if (m.events.size() >= kEventCapacity) {
            m.events.pop_front();
            ++m.dropped;
        }
        m.events.push_back(e);
    }

    // A cycle shorter than the device allows runs at the device's minimum and is reported.
    void ApplyCycle(Master& m, uint8_t code) {
        m.target = code;
        const uint8_t min = m.device.profile->page[page::MinCycle];
        if (!m.device.profile->present) {
            m.device.masterCycle = code;
        } else if (code == 0) {
            m.device.masterCycle = min;
        } else if (DecodeCycleTime(code) + 1e-9 < DecodeCycleTime(min)) {
            Queue(m, {26, 2, 48, 64, kFromMaster});
            m.device.masterCycle = min;
        } else {
            m.device.masterCycle = code;
        }
    }

    void StartIOLink(Master& m, uint8_t cycle) {
        m.mode = PortMode::IOLink;
        m.modeNumber = 1;
        m.readyAt = Now() + kEstablishMs;
        m.sampledTo = m.readyAt;
        m.outOfRange = false;
        SetOutputsValid(m.device, false);
        ApplyCycle(m, cycle);
    }

    // The link is let go of: no master reopens it when it comes back.
    void Forget() {
        for (Master& m : masters) {
            m.resume = false;
            m.resumeAt = -1;
        }
    }

    void CloseLink() {
        if (Master* m = InUse()) {
            m->mode = PortMode::Inactive;
            m->modeNumber = 0;
            SetOutputsValid(m->device, false);
        }
        open = false;
    }

    // A master that comes back on the port that was open restores the link by itself, after
    // a short reset, as a business object that owns the link does.
    void Resume() {
        Master* m = InUse();
        if (open || !m || m->resumeAt < 0 || Now() < m->resumeAt) return;
        open = true;
        m->reset = false;
        m->resume = false;
        m->resumeAt = -1;
        StartIOLink(*m, m->target);
    }

    // Brings the watch on the process value up to now: leaving and re-entering the measuring
    // range raise the range event while the device communicates.
    void Update() {
        Resume();
        Master* m = Opened();
        if (!m || !Operating(*m)) return;
        const int64_t now = Now();
        int64_t t = std::max({m->sampledTo, m->readyAt, now - kMaxCatchUpMs});
        do {  // at least once: a value held still may have jumped without time passing
            t = std::min(t + kSampleMs, now);
            const bool out = OutOfRange(m->device, t);
            if (out != m->outOfRange) {
                m->outOfRange = out;
                Queue(*m, {0x8C10, 4, 32, out ? 192 : 128, kFromDevice});
            }
        } while (t < now);
        m->sampledTo = now;
    }

    // Without a profile the device is the one this master had, or the default one.
    void Plug(const std::string& product, const std::string& port, const Profile* profile,
              bool running) {
        if (Find(port)) Bad("a master is already plugged on " + port);
        auto old = std::find_if(masters.begin(), masters.end(),
                                [&](const Master& m) { return IEquals(m.port, port); });
        if (old != masters.end() && old->product == product &&
            (!profile || old->device.profile == profile)) {
            old->plugged = true;  // the same master again: its device kept its parameters
        } else {
            if (old != masters.end()) masters.erase(old);
            Master m;
            m.product = product;
            m.port = port;
            m.revision = Revision(product);
            char serial[16];
            std::snprintf(serial, sizeof serial, "KV%06d", ++serials);
            m.serial = serial;
            m.device = MakeDevice(profile ? *profile : ProfileNamed(defaultProfile));
            masters.push_back(std::move(m));
            old = masters.end() - 1;
        }
        old->reset = running;
        if (selected.empty()) selected = port;
        // Only the master whose link was open comes back by itself; another one waits to be
        // chosen and connected.
        old->resumeAt = old->resume && running && IEquals(selected, port) ? Now() + kResetMs : -1;
    }

    void Unplug(Master& m) {
        m.resume = &m == InUse() && open;
        m.resumeAt = -1;
        if (m.resume) CloseLink();
        m.plugged = false;
        m.mode = PortMode::Inactive;
        m.events.clear();
        SetOutputsValid(m.device, false);
    }

    // --- commands: one function each, answering as the master does ---

    std::string Connect(std::string_view args, bool hasArgs) {
        if (hasArgs || !args.empty()) return Failure(kWrongArguments);
        Master* m = InUse();
        if (!m) return "FALSE";
        if (open) return "TRUE";
        open = true;
        m->reset = false;
        m->resume = false;
        m->resumeAt = -1;
        StartIOLink(*m, m->target);
        return "TRUE";
    }

    std::string Disconnect(std::string_view, bool hasArgs) {
        if (hasArgs) return Failure(kWrongArguments);
        if (open) CloseLink();
        Forget();
        return "OK:";
    }

    std::string Read(std::string_view args, bool) {
        std::vector<std::string_view> v;
        int64_t index = 0, sub = 0;
        if (!ParseArgs(args, {"Index", "SubIndex"}, v) || !ParseInt(v[0], 0, 65535, index) ||
            !ParseInt(v[1], 0, 255, sub))
            return Failure(kWrongArguments);
        Master* m = Opened();
        if (!m || !Operating(*m)) return Failure(kCommunicationError);
        Bytes data;
        if (uint16_t e = IsduRead(m->device, static_cast<uint16_t>(index),
                                  static_cast<uint8_t>(sub), Now(), data))
            return Failure(e);
        return "OK:" + std::to_string(data.size()) + JoinBytes(data);
    }

    std::string Write(std::string_view args, bool) {
        std::vector<std::string_view> v;
        int64_t index = 0, sub = 0;
        Bytes data;
        if (!ParseArgs(args, {"Index", "SubIndex", "Data"}, v, true) ||
            !ParseInt(v[0], 0, 65535, index) || !ParseInt(v[1], 0, 255, sub) ||
            !ParseHexBytes(v[2], data))
            return Failure(kWrongArguments);
        Master* m = Opened();
        if (!m || !Operating(*m)) return Failure(kCommunicationError);
        const WriteResult r =
            IsduWrite(m->device, static_cast<uint16_t>(index), static_cast<uint8_t>(sub), data);
        if (r.error) return Failure(r.error);
        if (r.changed) Queue(*m, {0x6350, 4, 16, 64, kFromDevice});
        switch (r.command) {
            case syscmd::DeviceReset:
                StartIOLink(*m, m->target);
                break;
            case syscmd::ApplicationReset:
                SetOutputsValid(m->device, false);
                break;
            case syscmd::ParamDownloadStore:
                Queue(*m, {0xFF91, 4, 16, 64, kFromDevice});
                break;
            default:
                break;
        }
        return "OK:";
    }

    std::string GetMode(std::string_view, bool hasArgs) {
        if (hasArgs) return Failure(kWrongArguments);
        Master* m = Opened();
        if (!m || !Operating(*m)) return Failure(kCommunicationError);
        Bytes pageBytes;
        IsduRead(m->device, idx::DirectPage, 0, Now(), pageBytes);
        std::string s = "OK:1,";
        for (size_t i = 0; i < pageBytes.size(); ++i)
            s += (i ? " " : "") + std::to_string(pageBytes[i]);
        return s + " " + std::to_string(m->modeNumber) + "," +
               std::to_string(m->device.profile->baud) + "," + (m->device.outputsValid ? "1" : "0");
    }

    std::string TransferImage(std::string_view args, bool) {
        std::vector<std::string_view> v;
        Bytes outputs;
        if (!ParseArgs(args, {"Data"}, v, true) || !ParseHexBytes(v[0], outputs))
            return Failure(kWrongArguments);
        Master* m = Opened();
        if (m && m->mode == PortMode::Sio) {
            if (!outputs.empty()) return Failure(kWrongArguments);
            return "OK:1,1 " + std::to_string(SioInput(m->device, Now())) + " 0";
        }
        if (!m || !Operating(*m)) return Failure(kCommunicationError);
        if (!outputs.empty()) {
            if (outputs.size() != m->device.outputs.size()) return Failure(kWrongArguments);
            SetOutputs(m->device, outputs);
        }
        const Bytes inputs = ProcessInputs(m->device, Now());
        return "OK:1," + std::to_string(inputs.size()) + JoinBytes(inputs) + " 0";
    }

    std::string ReadOutputImage(std::string_view, bool hasArgs) {
        if (hasArgs) return Failure(kWrongArguments);
        Master* m = Opened();
        if (m && m->mode == PortMode::Sio) return "OK:1,0";
        if (!m || !Operating(*m)) return Failure(kCommunicationError);
        return "OK:1," + std::to_string(m->device.outputs.size()) + JoinBytes(m->device.outputs);
    }

    std::string GetEvent(std::string_view, bool hasArgs) {
        if (hasArgs) return Failure(kWrongArguments);
        Master* m = Opened();
        if (!m) return Failure(kCommunicationError);
        if (m->events.empty()) return "EMPTY:";
        const SimEvent e = m->events.front();
        const size_t waiting = m->events.size();
        m->events.pop_front();
        std::ostringstream s;
        s << "OK:" << waiting << ',' << e.code << ',' << e.instance << ',' << e.type << ','
          << e.mode << ",1," << e.origin;
        return s.str();
    }

    std::string SetMode(std::string_view args, bool) {
        std::vector<std::string_view> v;
        int64_t mode = 0, cycle = 0;
        if (!ParseArgs(args, {"Mode", "Cycle"}, v) || !ParseInt(v[0], 0, 255, mode) ||
            !ParseInt(v[1], 0, 255, cycle))
            return Failure(kWrongArguments);
        const bool known = mode == 1 || mode == 3 || mode == 5 || mode == 6 || mode == 7;
        if (!known || (mode != 1 && cycle != 0)) return Failure(kWrongArguments);
        Master* m = Opened();
        if (!m) return Failure(kCommunicationError);
        switch (mode) {
            case 1:
                StartIOLink(*m, static_cast<uint8_t>(cycle));
                break;
            case 3:
            case 5:  // SIO straight away, or by a fallback command to the device
                m->mode = PortMode::Sio;
                m->modeNumber = static_cast<int>(mode);
                SetOutputsValid(m->device, false);
                break;
            default:
                SetOutputsValid(m->device, mode == 6);
                break;
        }
        return "OK:";
    }

    std::string ChangeCycle(std::string_view args, bool) {
        std::vector<std::string_view> v;
        int64_t cycle = 0;
        if (!ParseArgs(args, {"Cycle"}, v) || !ParseInt(v[0], 0, 255, cycle))
            return Failure(kWrongArguments);
        Master* m = Opened();
        if (!m) return Failure(kCommunicationError);
        if (m->mode == PortMode::IOLink)
            ApplyCycle(*m, static_cast<uint8_t>(cycle));
        else
            m->target = static_cast<uint8_t>(cycle);
        return "OK:";
    }

    // --- items ---

    Variant ItemUsbDevice() {
        const Master* m = InUse();
        return m ? m->port : "";
    }
    Variant ItemProduct() {
        const Master* m = InUse();
        return m ? m->product + " IO-Link USB Master" : "";
    }
    Variant ItemRevision() {
        const Master* m = InUse();
        return m ? m->revision : "";
    }
    Variant ItemState() { return Word() + (open ? ",TRUE" : ",FALSE"); }
    Variant ItemDate() { return kDtmDate; }
    Variant ItemVersion() { return kDtmVersion; }
    Variant ItemLanguage() { return language; }

    Variant Execute(std::string_view text) {
        using CommandFn = std::string (Impl::*)(std::string_view, bool);
        static constexpr std::pair<std::string_view, CommandFn> kCommands[] = {
            {"IOL::Connect", &Impl::Connect},
            {"IOL::Disconnect", &Impl::Disconnect},
            {"IOL::Read", &Impl::Read},
            {"IOL::Write", &Impl::Write},
            {"IOL::GetMode", &Impl::GetMode},
            {"IOL::TransferImage", &Impl::TransferImage},
            {"IOL::ReadOutputImage", &Impl::ReadOutputImage},
            {"IOL::GetEvent", &Impl::GetEvent},
            {"IOL::SetMode", &Impl::SetMode},
            {"IOL::ChangeCycle", &Impl::ChangeCycle},
        };
        using ItemFn = Variant (Impl::*)();
        static constexpr std::pair<std::string_view, ItemFn> kItems[] = {
            {"USBDevice", &Impl::ItemUsbDevice},  {"GetProduct", &Impl::ItemProduct},
            {"USBRevision", &Impl::ItemRevision}, {"ConnectionState", &Impl::ItemState},
            {"DTMDate", &Impl::ItemDate},         {"DTMVersion", &Impl::ItemVersion},
            {"Language", &Impl::ItemLanguage},
        };
        const size_t blank = text.find(' ');
        const std::string_view name = text.substr(0, blank);
        const bool hasArgs = blank != std::string_view::npos;
        const std::string_view args = hasArgs ? text.substr(blank + 1) : std::string_view{};
        for (const auto& [command, fn] : kCommands)
            if (name == command) return (this->*fn)(args, hasArgs);
        if (!hasArgs)
            for (const auto& [item, fn] : kItems)
                if (IEquals(name, item)) return (this->*fn)();
        return Failure(kUnknownCommand);
    }

    void SetItem(const std::string& name, const Variant& value) {
        if (IEquals(name, "USBDevice")) {
            const std::string port = Trim(value.ToText());
            if (!IEquals(port, selected)) {
                if (open) CloseLink();
                Forget();
                selected = port;
            }
        } else if (IEquals(name, "LOGGER")) {
            log.Add(value.ToText());
        } else if (IEquals(name, "Language")) {
            const int32_t id = CLng(value.ToText());
            if (id < 0 || id > 0xFFFF)
                throw VbError(vberr::InvalidProcedureCall, "Language must be a locale id");
            language = id;
        } else {
            throw VbError(vberr::InvalidProcedureCall, "Unknown item: " + name);
        }
    }

    // --- faults ---

    std::optional<Rule> Take(std::string_view text, bool garble) {
        for (auto it = rules.begin(); it != rules.end(); ++it) {
            if ((it->kind == Rule::Garble) != garble || !Matches(it->prefix, text)) continue;
            Rule r = *it;
            if (--it->remaining <= 0) rules.erase(it);
            return r;
        }
        return std::nullopt;
    }

    int64_t LatencyFor(std::string_view text) const {
        size_t best = 0;
        int64_t ms = 0;
        bool found = false;
        for (const auto& [prefix, value] : latency) {
            const size_t weight = prefix == "*" ? 0 : prefix.size();
            if (Matches(prefix, text) && (!found || weight >= best)) {
                best = weight;
                ms = value;
                found = true;
            }
        }
        return ms;
    }

    static std::string Garbled(std::string answer, GarbleKind kind) {
        switch (kind) {
            case GarbleKind::Empty:
                return "";
            case GarbleKind::Truncate:
                return answer.substr(0, answer.size() / 2);
            case GarbleKind::Text: {
                bool any = false;
                for (char& c : answer)
                    if (c >= '0' && c <= '9') c = 'x', any = true;
                return any ? answer : "OK:x";
            }
        }
        return answer;
    }

    // --- control lines ---

    Master& RequireInUse() {
        Master* m = InUse();
        if (!m) Bad("no master in use (plug one, or set USBDevice)");
        return *m;
    }

    std::string CtlHelp(const std::vector<std::string>&, std::string_view);
    std::string CtlSet(const std::vector<std::string>& w, std::string_view rest) {
        if (w.size() < 2 || w[1].empty()) Bad("usage: set NAME VALUE");
        std::string value = std::string(rest);
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        try {
            SetItem(w[1], value);
        } catch (const VbError& e) {
            Bad(e.what());
        }
        return "";
    }
    std::string CtlAdvance(const std::vector<std::string>& w, std::string_view) {
        if (w.size() != 2) Bad("usage: advance MS");
        offset += Number(w[1], 0, 1'000'000'000, "MS");
        return "";
    }
    std::string CtlPlug(const std::vector<std::string>& w, std::string_view) {
        if (w.size() < 3 || w.size() > 4) Bad("usage: plug PRODUCTID PORT [PROFILE]");
        const Profile* p = w.size() == 4 ? &ProfileNamed(w[3]) : nullptr;
        Plug(NormalProduct(w[1]), NormalPort(w[2]), p, true);
        return "";
    }
    std::string CtlUnplug(const std::vector<std::string>& w, std::string_view) {
        if (w.size() > 2) Bad("usage: unplug [PORT]");
        Master* m = nullptr;
        if (w.size() == 2) {
            m = Find(NormalPort(w[1]));
            if (!m) Bad("no master plugged on " + w[1]);
        } else {
            m = InUse();
            const auto plugged = std::count_if(masters.begin(), masters.end(),
                                               [](const Master& x) { return x.plugged; });
            if (!m && plugged == 1)
                for (Master& x : masters)
                    if (x.plugged) m = &x;
            if (!m) Bad("which master? name its port");
        }
        Unplug(*m);
        return "";
    }
    std::string CtlProfile(const std::vector<std::string>& w, std::string_view) {
        if (w.size() != 2) Bad("usage: profile NAME");
        const Profile& p = ProfileNamed(w[1]);
        Master* m = InUse();
        if (!m) {
            defaultProfile = p.name;
            return "";
        }
        const bool wasPresent = m->device.profile->present;
        const bool linked = open && m->mode == PortMode::IOLink;
        m->device = MakeDevice(p);
        if (!linked) return "";
        // Swapping the device under a running port: it is lost, then the new one starts up.
        if (wasPresent) Queue(*m, {16, 2, 48, 192, kFromMaster});
        StartIOLink(*m, m->target);
        if (p.present) Queue(*m, {16, 2, 48, 128, kFromMaster});
        return "";
    }
    std::string CtlMeasure(const std::vector<std::string>& w, std::string_view) {
        if (w.size() != 2) Bad("usage: measure VALUE|sweep");
        Master& m = RequireInUse();
        const std::string_view name = m.device.profile->name;
        if (name != "sensor" && name != "legacy")
            Bad("the " + std::string(name) + " has no measured value");
        if (w[1] == "sweep")
            m.device.pinned.reset();
        else
            m.device.pinned = static_cast<int32_t>(Number(w[1], 0, 65535, "VALUE"));
        return "";
    }
    std::string CtlEvent(const std::vector<std::string>& w, std::string_view) {
        if (w.size() != 5) Bad("usage: event CODE INSTANCE TYPE MODE");
        Master& m = RequireInUse();
        Queue(m, {static_cast<int32_t>(Number(w[1], 0, 0xFFFF, "CODE")),
                  static_cast<int32_t>(Number(w[2], 0, 255, "INSTANCE")),
                  static_cast<int32_t>(Number(w[3], 0, 255, "TYPE")),
                  static_cast<int32_t>(Number(w[4], 0, 255, "MODE")), kFromDevice});
        return "";
    }
    static int Count(const std::vector<std::string>& w, size_t at) {
        return w.size() > at ? static_cast<int>(Number(w[at], 1, 1'000'000, "COUNT")) : 1;
    }
    static void NeedPrefix(const std::string& prefix) {
        if (prefix.empty()) Bad("PREFIX must not be empty (use * for every command)");
    }
    std::string CtlFail(const std::vector<std::string>& w, std::string_view) {
        if (w.size() < 3 || w.size() > 4) Bad("usage: fail PREFIX ANSWER [COUNT]");
        NeedPrefix(w[1]);
        rules.push_back({Rule::Answer, w[1], Count(w, 3), w[2]});
        return "";
    }
    std::string CtlThrow(const std::vector<std::string>& w, std::string_view) {
        if (w.size() < 2) Bad("usage: throw PREFIX [COUNT] [NUMBER [DESCRIPTION]]");
        NeedPrefix(w[1]);
        Rule r{Rule::Throw, w[1], Count(w, 2)};
        r.number = w.size() > 3 ? static_cast<int32_t>(Number(w[3], INT32_MIN, INT32_MAX, "NUMBER"))
                                : kAutomationError;
        for (size_t i = 4; i < w.size(); ++i) r.description += (i > 4 ? " " : "") + w[i];
        if (r.description.empty())
            r.description = "Automation error: the USB master did not answer";
        rules.push_back(r);
        return "";
    }
    std::string CtlGarble(const std::vector<std::string>& w, std::string_view) {
        if (w.size() < 2 || w.size() > 4) Bad("usage: garble text|truncate|empty [COUNT] [PREFIX]");
        Rule r{Rule::Garble, w.size() > 3 ? w[3] : "*", Count(w, 2)};
        NeedPrefix(r.prefix);
        if (w[1] == "text")
            r.garble = GarbleKind::Text;
        else if (w[1] == "truncate")
            r.garble = GarbleKind::Truncate;
        else if (w[1] == "empty")
            r.garble = GarbleKind::Empty;
        else
            Bad("garble KIND is text, truncate or empty, not '" + w[1] + "'");
        rules.push_back(r);
        return "";
    }
    std::string CtlLatency(const std::vector<std::string>& w, std::string_view) {
        if (w.size() < 2 || w.size() > 3) Bad("usage: latency MS [PREFIX]");
        const int64_t ms = Number(w[1], 0, 60'000, "MS");
        const std::string prefix = w.size() > 2 ? w[2] : "*";
        NeedPrefix(prefix);
        std::erase_if(latency, [&](const auto& l) { return l.first == prefix; });
        if (ms > 0) latency.emplace_back(prefix, ms);
        return "";
    }
    std::string CtlClear(const std::vector<std::string>& w, std::string_view) {
        if (w.size() != 1) Bad("usage: clear");
        rules.clear();
        latency.clear();
        return "";
    }
    std::string CtlInventory(const std::vector<std::string>&, std::string_view);
    std::string CtlLog(const std::vector<std::string>& w, std::string_view) {
        if (w.size() != 1) Bad("usage: log");
        std::string s;
        for (const std::string& line : log.InOrder()) s += (s.empty() ? "" : "\n") + line;
        return s;
    }
    std::string CtlProfiles(const std::vector<std::string>&, std::string_view) {
        std::string s;
        for (const Profile& p : AllProfiles())
            s += (s.empty() ? "" : "\n") + std::string(p.name) + " - " + p.summary;
        return s;
    }
    std::string CtlStatus(const std::vector<std::string>&, std::string_view);
    std::string CtlComment(const std::vector<std::string>&, std::string_view) { return ""; }

    const Profile& ProfileNamed(const std::string& name) {
        const Profile* p = FindProfile(name);
        if (!p) Bad("unknown profile '" + name + "' (sensor, actuator, valve, legacy, none)");
        return *p;
    }

    using ControlFn = std::string (Impl::*)(const std::vector<std::string>&, std::string_view);
    struct ControlRow {
        std::string_view name;
        ControlFn fn;
        const char* usage;
        const char* help;
    };
    static const std::vector<ControlRow>& ControlTable();

    std::vector<ui::InventoryRecord> Inventory() const {
        std::vector<ui::InventoryRecord> records = {
            {"USB\\VID_0403&PID_6001\\A50285BI", "USB Serial Port (COM1)"},
            {"ACPI\\PNP0501\\0", "Communications Port (COM2)"},
            {"USB\\VID_1A2C&PID_0E24\\5&2F3A9B1&0&2", "USB Serial Device (COM7)"},
            {"USB\\ROOT_HUB30\\4&2B1E7C5&0&0", "USB Root Hub (USB 3.0)"},
        };
        for (const Master& m : masters) {
            if (!m.plugged) continue;
            // An unreadable master is still a supported model to the operating system.
            const std::string pid = m.product == "    " ? "7C31" : UCase(m.product);
            records.push_back({"USB\\VID_0403&PID_" + pid + "\\" + m.serial,
                               "IO-Link USB Master (" + m.port + ")"});
        }
        return records;
    }
};

const std::vector<Simulator::Impl::ControlRow>& Simulator::Impl::ControlTable() {
    static const std::vector<ControlRow> table = {
        {"help", &Impl::CtlHelp, "help", "this list"},
        {"set", &Impl::CtlSet, "set NAME VALUE", "SetItem: USBDevice, LOGGER or Language"},
        {"advance", &Impl::CtlAdvance, "advance MS", "move the simulator's time forward"},
        {"plug", &Impl::CtlPlug, "plug PRODUCTID PORT [PROFILE]",
         "plug a master: 7c31, 7c32, 7c33, other hex digits, or unreadable"},
        {"unplug", &Impl::CtlUnplug, "unplug [PORT]", "unplug a master (default: the one in use)"},
        {"profile", &Impl::CtlProfile, "profile NAME", "put another device on the port in use"},
        {"profiles", &Impl::CtlProfiles, "profiles", "the device profiles"},
        {"measure", &Impl::CtlMeasure, "measure VALUE|sweep",
         "hold the measured value (mm, 0.01 bar) or let it move"},
        {"event", &Impl::CtlEvent, "event CODE INSTANCE TYPE MODE", "queue an event"},
        {"fail", &Impl::CtlFail, "fail PREFIX ANSWER [COUNT]",
         "answer the next COUNT commands starting with PREFIX (* any) with ANSWER"},
        {"throw", &Impl::CtlThrow, "throw PREFIX [COUNT] [NUMBER [DESCRIPTION]]",
         "make the next COUNT such calls raise"},
        {"garble", &Impl::CtlGarble, "garble text|truncate|empty [COUNT] [PREFIX]",
         "damage the next COUNT answers"},
        {"latency", &Impl::CtlLatency, "latency MS [PREFIX]",
         "each command (starting with PREFIX) takes MS"},
        {"clear", &Impl::CtlClear, "clear", "drop all faults and latencies"},
        {"inventory", &Impl::CtlInventory, "inventory", "the USB inventory records"},
        {"log", &Impl::CtlLog, "log", "the LOGGER lines"},
        {"status", &Impl::CtlStatus, "status", "masters, port state, time and faults"},
        {"#", &Impl::CtlComment, "# TEXT", "a comment"},
    };
    return table;
}

std::string Simulator::Impl::CtlHelp(const std::vector<std::string>&, std::string_view) {
    std::string s = "COMMAND sends a command or reads an item, e.g. IOL::Connect, ConnectionState";
    for (const ControlRow& row : ControlTable()) {
        std::string usage = "!" + std::string(row.usage);
        usage.resize(std::max<size_t>(usage.size() + 1, 46), ' ');
        s += "\n" + usage + row.help;
    }
    return s;
}

std::string Simulator::Impl::CtlInventory(const std::vector<std::string>& w, std::string_view) {
    if (w.size() != 1) Bad("usage: inventory");
    std::string s;
    for (const ui::InventoryRecord& r : Inventory())
        s += (s.empty() ? "" : "\n") + r.DeviceID + " | " + r.Name;
    return s;
}

std::string Simulator::Impl::CtlStatus(const std::vector<std::string>& w, std::string_view) {
    if (w.size() != 1) Bad("usage: status");
    std::ostringstream s;
    s << "time " << Now() << " ms, language " << language << ", USBDevice \"" << selected << "\", "
      << ItemState().ToText();
    for (const Master& m : masters) {
        s << "\nmaster " << m.product << " on " << m.port << (m.plugged ? "" : " (unplugged)")
          << (&m == InUse() ? " (in use)" : "") << ", revision " << m.revision << ", device "
          << m.device.profile->name << ", cycle " << FormatHex(m.device.masterCycle, 2, "0x", true)
          << " (" << Str(DecodeCycleTime(m.device.masterCycle)) << " ms), outputs "
          << (m.device.outputsValid ? "valid" : "invalid") << ", " << m.events.size()
          << " events waiting";
        if (m.dropped) s << " (" << m.dropped << " dropped)";
    }
    for (const std::string& id : guis) s << "\nGUI registered, invoke id " << id;
    if (closeRequested) s << "\nGUI asked to close";
    if (released) s << "\nGUI released";
    for (const Rule& r : rules)
        s << "\nfault: "
          << (r.kind == Rule::Answer  ? "fail"
              : r.kind == Rule::Throw ? "throw"
                                      : "garble")
          << " \"" << r.prefix << "\" x" << r.remaining;
    for (const auto& [prefix, ms] : latency) s << "\nlatency \"" << prefix << "\" " << ms << " ms";
    return s.str();
}

Simulator::Simulator(Options options, std::function<int64_t()> clock)
    : impl_(std::make_unique<Impl>()) {
    Impl& s = *impl_;
    s.options = options;
    s.clock = std::move(clock);
    s.language = options.language ? options.language : LanguageFromEnvironment();
    s.defaultProfile = s.ProfileNamed(options.profile).name;
    s.selected = options.port.empty() ? "" : NormalPort(options.port);
    if (!options.product.empty())
        s.Plug(NormalProduct(options.product), s.selected, nullptr, false);
}

Simulator::~Simulator() = default;

void Simulator::RegisterGui(const std::string&, const std::string& invokeId) {
    std::lock_guard lock(impl_->mutex);
    impl_->guis.push_back(invokeId);
}

void Simulator::UnregisterGui(const std::string& invokeId) {
    std::lock_guard lock(impl_->mutex);
    std::erase(impl_->guis, invokeId);
}

void Simulator::CloseGui(const std::string&) {
    std::lock_guard lock(impl_->mutex);
    impl_->closeRequested = true;
}

void Simulator::NotifyGuiReleased() {
    std::lock_guard lock(impl_->mutex);
    impl_->released = true;
}

Variant Simulator::SendCommand(const std::string& text) {
    std::lock_guard lock(impl_->mutex);
    Impl& s = *impl_;
    s.Wait(s.LatencyFor(text));  // the round trip to the master
    s.Update();
    if (const std::optional<Rule> r = s.Take(text, false)) {
        if (r->kind == Rule::Throw) throw VbError(r->number, r->description);
        return r->answer;
    }
    Variant answer = s.Execute(text);
    if (const std::optional<Rule> r = s.Take(text, true))
        answer = Impl::Garbled(answer.ToText(), r->garble);
    return answer;
}

void Simulator::SetItem(const std::string& name, const Variant& value) {
    std::lock_guard lock(impl_->mutex);
    impl_->Update();
    impl_->SetItem(name, value);
}

std::string Simulator::Control(std::string_view line) {
    std::lock_guard lock(impl_->mutex);
    Impl& s = *impl_;
    s.Update();
    const auto skipWord = [](std::string_view& text) {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(word.size());
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        return std::string(word);
    };
    std::string_view rest = line;
    const std::string first = skipWord(rest);
    if (first.empty()) Bad("empty control line (try !help)");
    if (first.starts_with("#")) return "";
    std::vector<std::string> words;
    if (first == "set") {
        // The value is the rest of the line as it stands, blanks and quotes included.
        words = {first, skipWord(rest)};
        if (!words[1].empty() && !rest.empty()) words.emplace_back(rest);
    } else {
        words = Words(line);
    }
    for (const Impl::ControlRow& row : Impl::ControlTable()) {
        if (first != row.name) continue;
        std::string out = (s.*row.fn)(words, rest);
        s.Update();
        return out;
    }
    Bad("unknown control command '" + first + "' (try !help)");
}

std::vector<ui::InventoryRecord> Simulator::Inventory() const {
    std::lock_guard lock(impl_->mutex);
    return impl_->Inventory();
}

std::vector<std::string> Simulator::Log() const {
    std::lock_guard lock(impl_->mutex);
    return impl_->log.InOrder();
}

BusinessObject AsBusinessObject(std::shared_ptr<Simulator> sim) {
    return BusinessObject{sim, [sim] { return sim->Inventory(); },
                          [sim](std::string_view line) { return sim->Control(line); }};
}

std::vector<std::string> Simulator::Profiles() {
    std::vector<std::string> names;
    for (const Profile& p : AllProfiles()) names.emplace_back(p.name);
    return names;
}

}  // namespace kestrova::sim

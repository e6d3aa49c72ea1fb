// The fault soak: a long random session on the simulated master, played twice in lockstep. Both
// twins get the same page switches, user inputs, language switches and event bursts; only the
// faulty twin gets the simulator's faults (failing and thrown calls, garbled, truncated and
// empty answers, latency); unplug and replug happen to both. After every fault window the faults
// stop and the faulty twin must show what the calm one shows (status bar, shown page) within a few
// ticks; after every tick the shown page's timer must be armed. Errors escaping the control end the
// run (FuzzHost.h); the sanitizers catch the rest.
//
//   kestrova-soak [--ms VIRTUAL_MS] [--seed N]
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzHost.h"

namespace kestrova::fuzz {
namespace {

constexpr int64_t kStepMs = 100;
constexpr int64_t kRecoveryMs = 3000;  // ten polls of a page
const char* const kPages[] = {"UCGeneral1", "UCDeviceInfo1", "IOLinkData1", "IOLinkParam1",
                              "IOLinkAbout1"};
const char* const kNodes[] = {"K1", "K2", "K3", "K4", "K5"};

struct Figures {
    int64_t virtualMs = 0;
    int64_t windows = 0;
    int64_t faults = 0;
    int64_t recoveries = 0;
    int64_t recoveryMsMax = 0;
    int64_t reentries = 0;  // recoveries that needed the page entered again
    int64_t timerChecks = 0;
    int64_t userInputs = 0;
};

class Twin {
  public:
    Twin() : frame_(out_, GuardedFrame()) {}
    // A user input may be refused (a disabled or locked control); the frame's own lines not.
    void Run(const std::string& line, bool userInput = false) {
        if (!frame_.Execute(line, ++line_) && !userInput)
            Fail("script line \"" + line + "\" failed: " + out_.str());
        out_.str({});
    }
    void Tick(int64_t ms) { GuardedTick(frame_, ms); }
    ui::Control& Root() {
        ui::Control* root = frame_.Root();
        if (!root) Fail("no control");
        return *root;
    }
    ui::Control* ShownPage() {
        for (const char* name : kPages) {
            ui::Control* page = Root().Find(name);
            if (page && page->Visible()) return page;
        }
        return nullptr;
    }
    // What the user sees of the state: the status bar, the header and the shown page's texts
    // (the event list aside: events lost to a fault stay lost).
    std::string View() {
        std::string view =
            Root()("StatusBar1").Panels()[0].Text + "|" + Root()("LabelInterface").Caption() + "\n";
        if (ui::Control* page = ShownPage()) Describe(*page, page->Name(), view);
        return view;
    }

  private:
    static void Describe(ui::Control& c, const std::string& path, std::string& view) {
        if (c.Name() == "UCEventData1" || !c.Visible()) return;
        // The device proxy keeps a failed name read ("not supported") until the connection
        // state changes, so that a device without names is not asked on every poll.
        for (const char* name : {"TextVendor", "TextDevice", "TextFunction"})
            if (c.Name() == name) return;
        switch (c.GetKind()) {
            case ui::Kind::TextBox:
                view += path + "=" + c.Text() + (c.Enabled() ? "" : " (disabled)") + "\n";
                break;
            case ui::Kind::Label:
            case ui::Kind::CommandButton:
                view += path + "=" + c.Caption() + (c.Enabled() ? "" : " (disabled)") + "\n";
                break;
            default:
                break;
        }
        for (auto& child : c.Children()) Describe(*child, path + "." + child->Name(), view);
    }

    std::ostringstream out_;
    headless::HeadlessFrame frame_;
    int line_ = 0;
};

// The lines of two views that differ, side by side.
std::string Difference(const std::string& a, const std::string& b) {
    std::istringstream ia(a), ib(b);
    std::string la, lb, out;
    for (;;) {
        const bool more = static_cast<bool>(std::getline(ia, la));
        if (!std::getline(ib, lb) && !more) break;
        if (la != lb) out += "  " + la + "\n  " + lb + "\n";
        la.clear();
        lb.clear();
    }
    return out;
}

class Soak {
  public:
    explicit Soak(uint64_t seed) : random_(seed) {}

    Figures Run(int64_t totalMs) {
        Both("sim measure 500");  // a still sensor: both twins read the same process data
        Both("init 2");
        while (figures_.virtualMs < totalMs) {
            CalmPhase();
            FaultWindow();
            Recover();
            ++figures_.windows;
        }
        return figures_;
    }

  private:
    int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }
    template <size_t N>
    const char* Pick(const char* const (&table)[N]) {
        return table[Pick(static_cast<int>(N))];
    }

    void Both(const std::string& line, bool userInput = false) {
        calm_.Run(line, userInput);
        faulty_.Run(line, userInput);
        windowLog_ += "  " + line + "\n";
    }
    void Faulty(const std::string& line) {
        faulty_.Run("sim " + line);
        windowLog_ += "  sim " + line + "\n";
        ++figures_.faults;
    }
    // Moves both twins on by one step and checks the armed timers.
    void Step() {
        calm_.Tick(kStepMs);
        faulty_.Tick(kStepMs);
        figures_.virtualMs += kStepMs;
        for (Twin* twin : {&calm_, &faulty_}) {
            ui::Control* page = twin->ShownPage();
            if (!page) Fail("no page shown");
            if (!(*page)("Timer1").Enabled())
                Fail(std::string(twin == &calm_ ? "calm" : "faulty") + " twin: Timer1 of " +
                     page->Name() + " disabled at " + std::to_string(figures_.virtualMs) + " ms");
            ++figures_.timerChecks;
        }
    }
    void Steps(int64_t ms) {
        for (int64_t t = 0; t < ms; t += kStepMs) Step();
    }

    // Valid and invalid user inputs, language switches and event bursts, in both twins.
    void UserInput() {
        static const char* const kInputs[] = {
            "type IOLinkParam1.UCParameter1.TextRdIndex 16",
            "type IOLinkParam1.UCParameter1.TextRdIndex 0x12",
            "type IOLinkParam1.UCParameter1.TextRdIndex 99999",
            "type IOLinkParam1.UCParameter1.TextRdIndex x",
            "type IOLinkParam1.UCParameter1.TextRdSubIndex 0",
            "click IOLinkParam1.UCParameter1.Option1(0)",
            "click IOLinkParam1.UCParameter1.Option1(1)",
            "click IOLinkParam1.UCParameter1.Option1(3)",
            "click IOLinkParam1.UCParameter1.Command1",
            "click IOLinkData1.UCProcessData1.OptionAnzeige(1)",
            "click IOLinkData1.UCProcessData1.OptionAnzeige(0)",
            "click IOLinkData1.UCEventData1.Command1",
            "type IOLinkData1.IOLinkCommunication1.TextTarget 5.0",
            "type IOLinkData1.IOLinkCommunication1.TextTarget abc",
            "type IOLinkData1.IOLinkCommunication1.TextTarget 1e9",
            "click IOLinkData1.IOLinkCommunication1.BTFallback",
            "click IOLinkData1.IOLinkCommunication1.BTStart",
            "sim event 36000 4 48 192",
            "sim event 16 1 16 64",
        };
        const int kind = Pick(10);
        if (kind == 0) {
            Both(std::string("init 2 ") + (Pick(2) ? "1031" : "1033"));  // a language switch
        } else if (kind <= 2) {
            Both(std::string("node ") + Pick(kNodes));
        } else if (kind == 3) {
            for (int n = Pick(12); n >= 0; --n) Both("sim event 36000 4 48 192");  // a burst
        } else {
            // Inputs on a page not shown are not reachable: shown first, as a user would, and
            // looked at for a moment (its first tick enables what the state allows).
            const std::string line = Pick(kInputs);
            for (const char* page : {"IOLinkParam1", "IOLinkData1"}) {
                if (line.find(page) == std::string::npos) continue;
                Both(page == std::string_view("IOLinkParam1") ? "node K4" : "node K3");
                Step();
            }
            Both(line, true);
        }
        ++figures_.userInputs;
    }

    void CalmPhase() {
        for (int n = 1 + Pick(3); n > 0; --n) {
            UserInput();
            Steps(kStepMs * (1 + Pick(10)));
        }
        // Both twins settle on the same picture before faults start.
        Steps(kRecoveryMs);
    }

    void InjectFault() {
        static const char* const kPrefixes[] = {
            "IOL::GetMode", "IOL::Read", "IOL::TransferImage", "IOL::GetEvent", "ConnectionState",
            "GetProduct",   "USBDevice", "IOL::Connect",       "IOL::SetMode",  "*"};
        static const char* const kAnswers[] = {
            "ERROR:32785", "ERROR:", "garbage", "OK:", "OK:1,", "\"\"", "EMPTY:", "OK:x,x"};
        static const char* const kGarbles[] = {"text", "truncate", "empty"};
        const std::string count = std::to_string(1 + Pick(5));
        switch (Pick(6)) {
            case 0:
                Faulty(std::string("fail ") + Pick(kPrefixes) + " " + Pick(kAnswers) + " " + count);
                break;
            case 1:
                Faulty(std::string("throw ") + Pick(kPrefixes) + " " + count);
                break;
            case 2:
                Faulty(std::string("garble ") + Pick(kGarbles) + " " + count);
                break;
            case 3:
                Faulty(std::string("latency ") + std::to_string(10 * (1 + Pick(40))));
                break;
            case 4:
                // Not a fault of the business object: the calm twin loses its master as well.
                if (!unplugged_) {
                    Both("sim unplug");
                    ++figures_.faults;
                    unplugged_ = true;
                }
                break;
            default:
                Faulty(std::string("garble ") + Pick(kGarbles) + " " + count + " " +
                       Pick(kPrefixes));
                break;
        }
    }

    void FaultWindow() {
        for (int n = 1 + Pick(4); n > 0; --n) {
            InjectFault();
            if (Pick(3) == 0) Both(std::string("node ") + Pick(kNodes));  // switching meanwhile
            Steps(kStepMs * (1 + Pick(8)));
        }
    }

    void Recover() {
        faulty_.Run("sim clear");
        if (unplugged_) {
            // Plugged again; now and then the user also opens the function anew.
            Both("sim plug 7c31 COM3");
            if (Pick(2)) Both("init 2");
            unplugged_ = false;
        }
        if (Settles()) return;
        // What a page reads once when it is entered (the General page's master data, the
        // frame's header) is read again only when the page is entered again: the user does so.
        for (size_t i = 0; i < std::size(kPages); ++i)
            if (faulty_.ShownPage() == faulty_.Root().Find(kPages[i]))
                Both(std::string("node ") + kNodes[i]);
        ++figures_.reentries;
        if (Settles()) return;
        Fail("no recovery " + std::to_string(kRecoveryMs) + " ms after the faults of window " +
             std::to_string(figures_.windows) + " (at " + std::to_string(figures_.virtualMs) +
             " ms), nor after entering the page again\n--- window:\n" + windowLog_ +
             "--- calm / faulty:\n" + Difference(calm_.View(), faulty_.View()));
    }

    // Whether the faulty twin shows what the calm one shows within the recovery time.
    bool Settles() {
        for (int64_t ms = 0; ms <= kRecoveryMs; ms += kStepMs) {
            if (faulty_.View() == calm_.View()) {
                ++figures_.recoveries;
                windowLog_.clear();
                if (ms > figures_.recoveryMsMax) figures_.recoveryMsMax = ms;
                return true;
            }
            Step();
        }
        return false;
    }

    std::mt19937_64 random_;
    Twin calm_, faulty_;
    Figures figures_;
    bool unplugged_ = false;
    std::string windowLog_;  // what happened since the last recovery, for the report
};

}  // namespace
}  // namespace kestrova::fuzz

int main(int argc, char** argv) {
    int64_t totalMs = 100'000;
    uint64_t seed = 1;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view option = argv[i];
        if (option == "--ms")
            totalMs = std::strtoll(argv[i + 1], nullptr, 10);
        else if (option == "--seed")
            seed = std::strtoull(argv[i + 1], nullptr, 10);
        else {
            std::fprintf(stderr, "usage: kestrova-soak [--ms VIRTUAL_MS] [--seed N]\n");
            return 2;
        }
    }
    if (argc % 2 == 0) {
        std::fprintf(stderr, "usage: kestrova-soak [--ms VIRTUAL_MS] [--seed N]\n");
        return 2;
    }
    const kestrova::fuzz::Figures f = kestrova::fuzz::Soak(seed).Run(totalMs);
    std::printf(
        "soak: seed %llu, %lld virtual ms, %lld fault windows, %lld faults injected, %lld "
        "recoveries checked (slowest %lld ms; %lld after entering the page again), %lld timer "
        "checks, %lld user inputs\n",
        static_cast<unsigned long long>(seed), static_cast<long long>(f.virtualMs),
        static_cast<long long>(f.windows), static_cast<long long>(f.faults),
        static_cast<long long>(f.recoveries), static_cast<long long>(f.recoveryMsMax),
        static_cast<long long>(f.reentries), static_cast<long long>(f.timerChecks),
        static_cast<long long>(f.userInputs));
    return 0;
}

#include "HeadlessFrame.h"

#include <algorithm>
#include <cctype>
#include <istream>
#include <ostream>
#include <stdexcept>
#include <vector>

#include "HeadlessServices.h"
#include "RecordingBridge.h"
#include "dtmgui/DTMGUI.h"
#include "sim/Simulator.h"
#include "tools/Vb.h"
#include "ui/Json.h"
#include "ui/RenderSupport.h"

namespace kestrova::headless {

namespace {

// A script line that cannot be carried out as written; its message is the error line's text.
class ScriptError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

[[noreturn]] void Bad(const std::string& message) {
    throw ScriptError(message);
}

bool IsBlank(char ch) {
    return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n';
}

std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

// The next blank-separated word of rest, which moves past it.
std::string NextWord(std::string_view& rest) {
    rest = TrimBlanks(rest);
    size_t end = 0;
    while (end < rest.size() && !IsBlank(rest[end])) ++end;
    std::string word(rest.substr(0, end));
    rest = TrimBlanks(rest.substr(end));
    return word;
}

std::string RequireWord(std::string_view& rest, const char* usage) {
    std::string word = NextWord(rest);
    if (word.empty()) Bad(std::string("usage: ") + usage);
    return word;
}

void NoMore(std::string_view rest, const char* usage) {
    if (!TrimBlanks(rest).empty()) Bad(std::string("usage: ") + usage);
}

// The rest of the line as text. When it is one JSON string literal it is decoded, so it can
// hold leading or trailing blanks, quotes and control characters; any other text (also one
// that merely starts and ends with a quote, like "a":"b") is taken as written.
std::string TextArgument(std::string_view rest) {
    rest = TrimBlanks(rest);
    std::string text;
    if (rest.size() >= 2 && rest.front() == '"' && ui::ParseJsonString(rest, text)) return text;
    return std::string(rest);
}

int64_t Integer(const std::string& word, int64_t min, int64_t max, const char* what) {
    const bool negative = !word.empty() && word[0] == '-';
    const std::string digits = negative ? word.substr(1) : word;
    bool ok =
        !digits.empty() && digits.size() <= 12 &&
        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    int64_t value = ok ? std::stoll(digits) * (negative ? -1 : 1) : 0;
    if (!ok || value < min || value > max)
        Bad(std::string(what) + " must be a whole number from " + std::to_string(min) + " to " +
            std::to_string(max) + ", not '" + word + "'");
    return value;
}

// Key codes by name, for the keys a person presses that are not characters.
int16_t KeyCode(const std::string& word) {
    static const std::pair<const char*, int16_t> kNames[] = {
        {"Backspace", 8}, {"Tab", 9}, {"Enter", 13}, {"Return", 13}, {"Escape", 27}, {"Space", 32},
    };
    for (const auto& [name, code] : kNames)
        if (IEquals(word, name)) return code;
    return static_cast<int16_t>(Integer(word, 0, 255, "CODE"));
}

std::string Shorten(std::string_view text) {
    return text.size() <= 80 ? std::string(text) : std::string(text.substr(0, 77)) + "...";
}

std::string Describe(const std::exception& e) {
    if (const auto* vb = dynamic_cast<const VbError*>(&e))
        return "error " + std::to_string(vb->Number()) + ": " + vb->Description();
    return e.what();
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
    return text;
}

constexpr int kMaxTickErrors = 20;

class MainControl : public HostedControl {
  public:
    explicit MainControl(ui::Services& services) : gui_(services) {}
    ui::Control& Root() override { return gui_; }
    bool Init(const std::string& invokeId, const std::string& functionCall,
              std::shared_ptr<IGuiBridge> dtm) override {
        return gui_.Init(invokeId, functionCall, std::move(dtm));
    }
    bool PrepareToRelease() override { return gui_.PrepareToRelease(); }

  private:
    DTMGUI gui_;
};

}  // namespace

std::unique_ptr<HostedControl> MakeMainControl(ui::Services& services) {
    return std::make_unique<MainControl>(services);
}

std::string FunctionCallXml(std::string_view functionId) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><FDT xmlns="x-schema:DTMFunctionCallSchema.xml">)"
           R"(<FunctionCall functionId=")" +
           std::string(functionId) + R"("/></FDT>)";
}

struct HeadlessFrame::Command {
    const char* name;
    void (HeadlessFrame::*run)(std::string_view);
};

HeadlessFrame::HeadlessFrame(std::ostream& out, FrameOptions options)
    : out_(out), options_(std::move(options)) {
    services_ = std::make_unique<HeadlessServices>(
        [this] {
            return business_.Inventory ? business_.Inventory() : std::vector<ui::InventoryRecord>{};
        },
        [this](const std::string& line) { Print(line); });
    ui::VirtualClock* clock = &services_->Clock();
    if (options_.business) {
        business_ = options_.business(*clock);
    } else {
        sim::Options simOptions;
        simOptions.language = options_.language;
        business_ = sim::AsBusinessObject(
            std::make_shared<sim::Simulator>(simOptions, [clock] { return clock->NowMs(); }));
    }
    bridge_ = std::make_shared<RecordingBridge>(business_.Dtm);
    input_ = options_.input ? options_.input : std::make_shared<InputDriver>();
}

HeadlessFrame::~HeadlessFrame() {
    // The control goes first: it still talks to the services and the business object.
    StopControl();
}

ui::Control* HeadlessFrame::Root() {
    return hosted_ ? &hosted_->Root() : nullptr;
}

void HeadlessFrame::Print(const std::string& line) {
    out_ << line << '\n';
}

void HeadlessFrame::Fail(const std::string& message) {
    Print("error line " + std::to_string(line_) + ": " + message);
    if (!lineFailed_) {
        lineFailed_ = true;
        ++failures_;
    }
}

bool HeadlessFrame::Execute(std::string_view line, int lineNumber) {
    line_ = lineNumber;
    lineFailed_ = false;
    const std::string_view text = TrimBlanks(line);
    const bool command = !text.empty() && text.front() != '#';
    if (options_.echo) Print(command ? "$ " + std::string(text) : std::string(text));
    if (command) {
        std::string_view rest = text;
        const std::string name = NextWord(rest);
        try {
            Dispatch(name, rest);
        } catch (const ScriptError& e) {
            Fail(e.what());
        } catch (const std::exception& e) {
            // An error that escaped the control's own handlers: reported, and the frame goes on.
            Fail("\"" + Shorten(text) + "\" raised " + Describe(e));
        } catch (...) {
            Fail("\"" + Shorten(text) + "\" raised an unknown error");
        }
        input_->Settle();
    }
    out_.flush();
    return !lineFailed_;
}

int HeadlessFrame::Run(std::istream& script) {
    std::string line;
    int number = 0;
    while (std::getline(script, line)) Execute(line, ++number);
    return failures_;
}

void HeadlessFrame::Dispatch(const std::string& name, std::string_view args) {
    static const Command kCommands[] = {
        {"init", &HeadlessFrame::CmdInit},
        {"init-raw", &HeadlessFrame::CmdInitRaw},
        {"release", &HeadlessFrame::CmdRelease},
        {"tick", &HeadlessFrame::CmdTick},
        {"click", &HeadlessFrame::CmdClick},
        {"node", &HeadlessFrame::CmdNode},
        {"type", &HeadlessFrame::CmdType},
        {"key", &HeadlessFrame::CmdKey},
        {"keys", &HeadlessFrame::CmdKeys},
        {"pick", &HeadlessFrame::CmdPick},
        {"resize", &HeadlessFrame::CmdResize},
        {"get", &HeadlessFrame::CmdGet},
        {"dump", &HeadlessFrame::CmdDump},
        {"sim", &HeadlessFrame::CmdSim},
        {"traffic", &HeadlessFrame::CmdTraffic},
        {"messages", &HeadlessFrame::CmdMessages},
        {"answer-save", &HeadlessFrame::CmdAnswerSave},
        {"answer-message", &HeadlessFrame::CmdAnswerMessage},
        {"pdf-app", &HeadlessFrame::CmdPdfApp},
        {"program-dir", &HeadlessFrame::CmdProgramDir},
        {"start-result", &HeadlessFrame::CmdStartResult},
        {"expect", &HeadlessFrame::CmdExpect},
        {"expect-traffic", &HeadlessFrame::CmdExpectTraffic},
        {"expect-no-traffic", &HeadlessFrame::CmdExpectNoTraffic},
        {"expect-message", &HeadlessFrame::CmdExpectMessage},
        {"expect-no-message", &HeadlessFrame::CmdExpectNoMessage},
    };
    for (const Command& c : kCommands)
        if (name == c.name) return (this->*c.run)(args);
    Bad("unknown command '" + name + "'");
}

ui::Control& HeadlessFrame::RootOrFail() {
    if (!hosted_) Bad("no control yet: init comes first");
    return hosted_->Root();
}

ui::Control& HeadlessFrame::Target(std::string_view path) {
    ui::Control& root = RootOrFail();
    ui::Control* found = nullptr;
    const std::string& rootName = root.Name();
    if (IEquals(path, rootName))
        found = &root;
    else if (path.size() > rootName.size() + 1 &&
             IEquals(path.substr(0, rootName.size()), rootName) && path[rootName.size()] == '.')
        found = root.Resolve(path.substr(rootName.size() + 1));
    else if (!path.empty())
        found = root.Resolve(path);
    if (!found) Bad("unknown control " + std::string(path));
    return *found;
}

// A control a person could reach: it and every control it sits in are visible and enabled.
ui::Control& HeadlessFrame::Reachable(std::string_view path) {
    ui::Control& target = Target(path);
    for (const ui::Control* c = &target; c; c = c->Parent()) {
        const std::string which =
            c == &target ? std::string(path) : std::string(path) + " (in " + c->Name() + ")";
        if (!c->Visible()) Bad(which + " is not visible");
        if (!c->Enabled()) Bad(which + " is disabled");
    }
    return target;
}

// --- the control's life ---

void HeadlessFrame::StopControl() {
    if (!hosted_) return;
    input_->Detach();
    hosted_.reset();
}

void HeadlessFrame::StartControl(const std::string& functionCall) {
    StopControl();  // a new function opens a new control
    hosted_ = options_.host(*services_);
    hosted_->Root().SetClock(&services_->Clock());
    input_->Attach(hosted_->Root());
    const std::string invokeId = "invoke-" + std::to_string(++inits_);
    const bool ok = hosted_->Init(invokeId, functionCall, bridge_);
    Print(std::string("init ") + (ok ? "true" : "false"));
}

void HeadlessFrame::CmdInit(std::string_view args) {
    constexpr const char* usage = "init FUNCID [LCID]";
    const std::string functionId = RequireWord(args, usage);
    const std::string lcid = NextWord(args);
    NoMore(args, usage);
    if (!lcid.empty()) {
        Integer(lcid, 0, 0xFFFF, "LCID");
        BusinessControl("set Language " + lcid);
    }
    StartControl(FunctionCallXml(functionId));
}

void HeadlessFrame::CmdInitRaw(std::string_view args) {
    StartControl(std::string(TrimBlanks(args)));
}

void HeadlessFrame::CmdRelease(std::string_view args) {
    NoMore(args, "release");
    RootOrFail();
    Print(std::string("release ") + (hosted_->PrepareToRelease() ? "true" : "false"));
}

// --- time ---

void HeadlessFrame::CmdTick(std::string_view args) {
    constexpr const char* usage = "tick MS";
    const int64_t ms = Integer(RequireWord(args, usage), 0, 1'000'000'000, "MS");
    NoMore(args, usage);
    Tick(ms);
}

// Fires every timer due up to now + ms in time order, as ui::AdvanceClock does, but one at a
// time so that a timer whose handler fails can be named and the others still run.
void HeadlessFrame::Tick(int64_t ms) {
    ui::VirtualClock& clock = services_->Clock();
    const int64_t target = clock.NowMs() + ms;
    int errors = 0;
    if (hosted_) {
        ui::Control& root = hosted_->Root();
        for (;;) {
            ui::Control* timer = ui::NextDueTimer(root);
            if (!timer || timer->DueAt() > target) break;
            if (timer->DueAt() > clock.NowMs()) clock.Set(timer->DueAt());
            try {
                timer->FireTimer();
            } catch (const std::exception& e) {
                if (++errors <= kMaxTickErrors)
                    Fail("tick: timer " + ui::ControlPath(*timer, root) + " at " +
                         std::to_string(clock.NowMs()) + " ms raised " + Describe(e));
            }
        }
    }
    if (errors > kMaxTickErrors)
        Fail("tick: " + std::to_string(errors - kMaxTickErrors) + " more timer errors not shown");
    if (target > clock.NowMs()) clock.Set(target);
}

// --- user input ---

void HeadlessFrame::CmdClick(std::string_view args) {
    constexpr const char* usage = "click PATH";
    const std::string path = RequireWord(args, usage);
    NoMore(args, usage);
    input_->Click(Reachable(path));
}

void HeadlessFrame::CmdNode(std::string_view args) {
    constexpr const char* usage = "node KEY";
    const std::string key = RequireWord(args, usage);
    NoMore(args, usage);
    ui::Control& tree = Reachable("TreeMenu");
    if (!tree.FindNode(key)) Bad("TreeMenu has no node " + key);
    input_->NodeClick(tree, key);
}

void HeadlessFrame::CmdType(std::string_view args) {
    const std::string path = RequireWord(args, "type PATH TEXT");
    ui::Control& c = Reachable(path);
    if (c.GetKind() != ui::Kind::TextBox && c.GetKind() != ui::Kind::ComboBox)
        Bad(path + " is a " + ui::KindName(c.GetKind()) + ", not a text box");
    if (c.Locked()) Bad(path + " is locked");
    input_->Type(c, TextArgument(args));
}

void HeadlessFrame::CmdKey(std::string_view args) {
    constexpr const char* usage = "key PATH CODE";
    const std::string path = RequireWord(args, usage);
    const int16_t code = KeyCode(RequireWord(args, usage));
    NoMore(args, usage);
    input_->Key(Reachable(path), code);
}

void HeadlessFrame::CmdKeys(std::string_view args) {
    const std::string path = RequireWord(args, "keys PATH TEXT");
    ui::Control& c = Reachable(path);
    for (uint8_t code : Utf8ToCp1252(TextArgument(args))) input_->Key(c, code);
}

void HeadlessFrame::CmdPick(std::string_view args) {
    constexpr const char* usage = "pick PATH INDEX";
    const std::string path = RequireWord(args, usage);
    const auto index = static_cast<int>(Integer(RequireWord(args, usage), -1, 32767, "INDEX"));
    NoMore(args, usage);
    ui::Control& c = Reachable(path);
    if (c.GetKind() != ui::Kind::ComboBox)
        Bad(path + " is a " + ui::KindName(c.GetKind()) + ", not a combo box");
    if (index >= c.ListCount())
        Bad(path + " has no entry " + std::to_string(index) + " (it has " +
            std::to_string(c.ListCount()) + ")");
    input_->Pick(c, index);
}

void HeadlessFrame::CmdResize(std::string_view args) {
    constexpr const char* usage = "resize WIDTH HEIGHT";
    const auto width =
        static_cast<int32_t>(Integer(RequireWord(args, usage), 0, 1'000'000, "WIDTH"));
    const auto height =
        static_cast<int32_t>(Integer(RequireWord(args, usage), 0, 1'000'000, "HEIGHT"));
    NoMore(args, usage);
    input_->Resize(RootOrFail(), width, height);
}

// --- looking ---

void HeadlessFrame::CmdGet(std::string_view args) {
    constexpr const char* usage = "get PATH";
    const std::string path = RequireWord(args, usage);
    NoMore(args, usage);
    Print(ui::ToJson(Target(path)));
}

void HeadlessFrame::CmdDump(std::string_view args) {
    const std::string path = NextWord(args);
    NoMore(args, "dump [PATH]");
    ui::Control& root = RootOrFail();
    ui::Control& top = path.empty() ? root : Target(path);
    Print(ui::ToJson(top, ui::ControlPath(top, root)));
    top.ForEach([&](ui::Control& c) { Print(ui::ToJson(c, ui::ControlPath(c, root))); });
}

std::string HeadlessFrame::BusinessControl(std::string_view line) {
    if (!business_.Control) Bad("sim: the business object takes no control lines");
    try {
        return business_.Control(line);
    } catch (const std::invalid_argument& e) {
        Bad(std::string("sim: ") + e.what());
    } catch (const VbError& e) {
        Bad("sim: " + std::string(e.Description()));
    }
}

void HeadlessFrame::CmdSim(std::string_view args) {
    const std::string output = BusinessControl(TrimBlanks(args));
    if (output.empty()) return;
    size_t start = 0;
    while (start <= output.size()) {
        const size_t end = std::min(output.find('\n', start), output.size());
        Print(output.substr(start, end - start));
        start = end + 1;
    }
}

void HeadlessFrame::CmdTraffic(std::string_view args) {
    NoMore(args, "traffic");
    for (const std::string& line : bridge_->Take()) Print(line);
}

void HeadlessFrame::CmdMessages(std::string_view args) {
    NoMore(args, "messages");
    for (const MessageRecord& m : services_->TakeMessages()) Print(MessageJson(m));
}

std::string HeadlessFrame::PendingTraffic() const {
    return Joined(bridge_->Lines());
}

std::string HeadlessFrame::PendingMessages() const {
    std::vector<std::string> lines;
    for (const MessageRecord& m : services_->Messages()) lines.push_back(MessageJson(m));
    return Joined(lines);
}

// --- the host's answers ---

void HeadlessFrame::CmdAnswerSave(std::string_view args) {
    const std::string answer = TextArgument(args);
    if (answer.empty()) Bad("usage: answer-save PATH|cancel");
    services_->QueueSaveAnswer(TrimBlanks(args) == "cancel" ? std::string{} : answer);
}

void HeadlessFrame::CmdAnswerMessage(std::string_view args) {
    constexpr const char* usage = "answer-message ok|cancel|abort|retry|ignore|yes|no";
    const std::string word = RequireWord(args, usage);
    NoMore(args, usage);
    const int answer = AnswerNumber(word);
    if (!answer) Bad(std::string("usage: ") + usage);
    services_->QueueMessageAnswer(answer);
}

void HeadlessFrame::CmdPdfApp(std::string_view args) {
    const std::string app = TextArgument(args);
    if (app.empty()) Bad("usage: pdf-app PATH|none");
    services_->SetPdfApplication(TrimBlanks(args) == "none" ? std::string{} : app);
}

void HeadlessFrame::CmdProgramDir(std::string_view args) {
    const std::string dir = TextArgument(args);
    if (dir.empty()) Bad("usage: program-dir PATH");
    services_->SetProgramDirectory(dir);
}

void HeadlessFrame::CmdStartResult(std::string_view args) {
    constexpr const char* usage = "start-result ok|fail";
    const std::string word = RequireWord(args, usage);
    NoMore(args, usage);
    if (word != "ok" && word != "fail") Bad(std::string("usage: ") + usage);
    services_->SetStartSucceeds(word == "ok");
}

// --- checks ---

namespace {

// Whether the shown property equals the wanted text: booleans ignore case, numbers may be
// wanted in hex ("0xE1DAD5", "&HE1DAD5").
bool Matches(const ui::PropertyValue& value, const std::string& want) {
    if (value.IsBool) return IEquals(value.Text, want);
    if (value.IsNumber && want.size() > 2 &&
        (want.starts_with("0x") || want.starts_with("0X") || want.starts_with("&H") ||
         want.starts_with("&h"))) {
        const std::string digits = want.substr(2);
        if (digits.size() > 8 || !std::all_of(digits.begin(), digits.end(), [](char c) {
                return std::isxdigit(static_cast<unsigned char>(c));
            }))
            return false;
        return value.Text == std::to_string(std::stoll(digits, nullptr, 16));
    }
    return value.Text == want;
}

}  // namespace

void HeadlessFrame::CmdExpect(std::string_view args) {
    constexpr const char* usage = "expect PATH PROPERTY VALUE";
    const std::string path = RequireWord(args, usage);
    const std::string property = RequireWord(args, usage);
    const std::string want = TextArgument(args);
    ui::Control& c = Target(path);
    ui::PropertyValue value;
    try {
        value = ui::ReadProperty(c, property);
    } catch (const std::invalid_argument& e) {
        Bad(path + ": " + e.what());
    }
    if (!Matches(value, want))
        Fail("expect " + path + " " + property + ": got " + value.Json + ", want " +
             (value.IsBool || value.IsNumber ? want : ui::JsonString(want)));
}

void HeadlessFrame::CmdExpectTraffic(std::string_view args) {
    const std::string text = TextArgument(args);
    if (text.empty()) Bad("usage: expect-traffic TEXT");
    if (PendingTraffic().find(text) == std::string::npos)
        Fail("expect-traffic: no pending traffic contains " + ui::JsonString(text) + " (" +
             std::to_string(bridge_->Lines().size()) + " lines pending)");
}

void HeadlessFrame::CmdExpectNoTraffic(std::string_view args) {
    const std::string text = TextArgument(args);
    if (text.empty()) Bad("usage: expect-no-traffic TEXT");
    const std::string pending = PendingTraffic();
    const size_t at = pending.find(text);
    if (at == std::string::npos) return;
    const size_t begin =
        pending.rfind('\n', at) == std::string::npos ? 0 : pending.rfind('\n', at) + 1;
    Fail("expect-no-traffic: pending traffic contains " + ui::JsonString(text) + " in " +
         ui::JsonString(pending.substr(begin, pending.find('\n', at) - begin)));
}

void HeadlessFrame::CmdExpectMessage(std::string_view args) {
    const std::string text = TextArgument(args);
    if (text.empty()) Bad("usage: expect-message TEXT");
    if (PendingMessages().find(text) == std::string::npos)
        Fail("expect-message: no pending message contains " + ui::JsonString(text) + " (" +
             std::to_string(services_->Messages().size()) + " pending)");
}

void HeadlessFrame::CmdExpectNoMessage(std::string_view args) {
    const std::string text = TextArgument(args);
    const std::string pending = PendingMessages();
    if (text.empty() ? pending.empty() : pending.find(text) == std::string::npos) return;
    Fail("expect-no-message: pending " + ui::JsonString(pending.substr(0, 200)));
}

}  // namespace kestrova::headless

#include "link/IOLinkComm.h"

#include <string>

#include "tools/Vb.h"

namespace kestrova {

namespace {

std::string Num(int64_t v) {
    return Str(v);
}

// Sends one command and turns the answer into text at once.
std::string Ask(IGuiBridge& dtm, const std::string& command) {
    return dtm.SendCommand(command).ToText();
}

bool IsOk(const std::string& answer) {
    return answer.starts_with("OK:");
}

// Runs the parsing of one answer; a malformed answer keeps its error number and says which
// command and answer it came from, so the message can be traced to the master.
template <class F>
auto Parse(const std::string& command, const std::string& answer, F&& parse) {
    try {
        return parse();
    } catch (const VbError& e) {
        std::string shown = answer.size() > 80 ? answer.substr(0, 80) + "..." : answer;
        throw VbError(e.Number(), std::string(e.Description()) + " in the answer to \"" + command +
                                      "\": \"" + shown + "\"");
    }
}

// A failure answer is a six-character status word with its colon, then the error number: the
// first six characters are skipped unseen, whatever they are.
int32_t FailureNumber(const std::string& command, const std::string& answer) {
    return Parse(command, answer, [&] { return CLng(Mid(answer, 7)); });
}

// Answers that carry nothing but success or the error number.
int32_t ResultOnly(IGuiBridge& dtm, const std::string& command) {
    const std::string answer = Ask(dtm, command);
    return IsOk(answer) ? 0 : FailureNumber(command, answer);
}

// The values of an answer "OK:<field>,<values>": the status word and the field before the comma
// dropped.
std::string_view ValuesPart(std::string_view answer) {
    TakeToken(answer, ":");
    TakeToken(answer, ",");
    return answer;
}

// A count or status field: read as a 32-bit number, which must then fit 16 bits.
int16_t ReadShort(std::string_view& rest) {
    return CInt(int64_t{TakeNumber(rest, false, " ")});
}

// Reads n values separated by blanks; a truncated answer runs out of fields and raises Type
// mismatch instead of reading past the text.
Values ReadValues(std::string_view& rest, int16_t n) {
    Values v;
    v.reserve(n > 0 ? static_cast<size_t>(n) : 0);
    for (int16_t i = 0; i < n; ++i) v.push_back(TakeNumber(rest, false, " "));
    return v;
}

// Text field of the mode answer: through a 16-bit integer into a byte.
uint8_t ByteField(std::string_view& rest) {
    return CByte(CInt(TakeToken(rest, ",")));
}

}  // namespace

bool IolConnect(IGuiBridge& dtm) {
    if (Ask(dtm, "USBDevice").empty()) return false;
    return UCase(Ask(dtm, "IOL::Connect")) == "TRUE";
}

void IolDisconnect(IGuiBridge& dtm) {
    dtm.SendCommand("IOL::Disconnect");
}

int32_t IolRead(IGuiBridge& dtm, int16_t index, int16_t subindex, Values& data) {
    const std::string command = "IOL::Read Index=" + Num(index) + " SubIndex=" + Num(subindex);
    const std::string answer = Ask(dtm, command);
    if (!IsOk(answer)) return FailureNumber(command, answer);
    data = Parse(command, answer, [&] {
        std::string_view rest = std::string_view(answer).substr(3);
        const int16_t count = ReadShort(rest);
        return count > 0 ? ReadValues(rest, count) : Values{};
    });
    return 0;
}

int32_t IolWrite(IGuiBridge& dtm, int16_t index, int16_t subindex, const Values& data) {
    const std::string command =
        Trim("IOL::Write Index=" + Num(index) + " SubIndex=" + Num(subindex) +
             " Data=" + FormatBytes(data, kHex));
    return ResultOnly(dtm, command);
}

int32_t IolGetMode(IGuiBridge& dtm, ModeRecord& mode) {
    const std::string command = "IOL::GetMode";
    const std::string answer = Ask(dtm, command);
    if (!IsOk(answer)) return FailureNumber(command, answer);
    mode = Parse(command, answer, [&] {
        ModeRecord m = mode;
        std::string_view rest = ValuesPart(answer);
        for (size_t i = 3; i < m.size(); ++i) m[i] = CByte(TakeNumber(rest, false, " "));
        m[1] = ByteField(rest);
        m[2] = ByteField(rest);
        m[0] = ByteField(rest);
        return m;
    });
    return 0;
}

int32_t IolTransferImage(IGuiBridge& dtm, const Values& outputs, Values& inputs, int16_t& status,
                         int16_t outputLength) {
    std::string command = "IOL::TransferImage Data=";
    if (outputLength > 0) command += FormatBytes(outputs, kHex, outputLength, "", false);
    const std::string answer = Ask(dtm, command);
    if (!IsOk(answer)) return FailureNumber(command, answer);
    Parse(command, answer, [&] {
        std::string_view rest = ValuesPart(answer);
        const int16_t count = ReadShort(rest);
        Values received = count > 0 ? ReadValues(rest, count) : inputs;
        const int16_t st = ReadShort(rest);
        inputs = std::move(received);
        status = st;
    });
    return 0;
}

int32_t IolReadOutputImage(IGuiBridge& dtm, Values& outputs, int16_t length) {
    const std::string command = "IOL::ReadOutputImage";
    const std::string answer = Ask(dtm, command);
    if (!IsOk(answer)) return FailureNumber(command, answer);
    Parse(command, answer, [&] {
        std::string_view rest = ValuesPart(answer);
        const int16_t count = ReadShort(rest);
        // Sized by the caller's length, not by the count the master sends.
        if (count >= 1) outputs = ReadValues(rest, length);
    });
    return 0;
}

int32_t IolGetEvent(IGuiBridge& dtm, EventRecord& record) {
    const std::string command = "IOL::GetEvent";
    const std::string answer = Ask(dtm, command);
    if (answer.starts_with("EMPTY:")) {
        record[0] = -1;  // no event waiting; the rest of the record stays
        return 0;
    }
    if (!IsOk(answer)) return FailureNumber(command, answer);
    record = Parse(command, answer, [&] {
        EventRecord r{};
        std::string_view rest = answer;
        TakeToken(rest, ":");
        for (int32_t& e : r) e = CLng(TakeToken(rest, ","));
        return r;
    });
    return 0;
}

int32_t IolSetMode(IGuiBridge& dtm, uint8_t mode, int16_t cycle) {
    return ResultOnly(dtm, "IOL::SetMode Mode=" + Num(mode) + " Cycle=" + Num(cycle));
}

int32_t IolChangeCycle(IGuiBridge& dtm, int16_t cycle) {
    return ResultOnly(dtm, "IOL::ChangeCycle Cycle=" + Num(cycle));
}

}  // namespace kestrova

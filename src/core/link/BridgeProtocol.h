// The line protocol that carries business-object calls to another process: one request line per
// call, one answer line each (docs/bridge.md). Pure text in and text out, so that any transport
// (pipes to a child process, a test's function) can carry it and a fuzzer can feed it.
//
// Request:  OPERATION[ FIELD...]   one blank between fields; the last field runs to the end of
//                                  the line and may hold blanks
// Answer:   text TEXT | int N | real X | bool true|false | empty | null | error N DESCRIPTION
//
// Texts are escaped so that a line stays a line: \\ \n \r \t and \xNN for other control
// characters; in fields before the last one a blank is written \x20.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "link/IGuiBridge.h"
#include "ui/Services.h"

namespace kestrova::bridge {

// Operation names, as the first word of a request.
namespace op {
inline constexpr const char* SendCommand = "SendCommand";
inline constexpr const char* SetItem = "SetItem";
inline constexpr const char* RegisterGui = "RegisterGui";
inline constexpr const char* UnregisterGui = "UnregisterGui";
inline constexpr const char* CloseGui = "CloseGui";
inline constexpr const char* NotifyGuiReleased = "NotifyGuiReleased";
inline constexpr const char* UsbInventory = "UsbInventory";
// Host extensions a bridge may refuse with an error answer: the host's clock in milliseconds,
// and a control line for a simulated master ("plug 7c32 COM4").
inline constexpr const char* Clock = "Clock";
inline constexpr const char* Control = "Control";
}  // namespace op

// Error number of a failure of the bridge itself (no answer, a broken answer): E_FAIL, as an
// automation call that failed without a number of its own.
inline constexpr int32_t kBridgeFailure = -2147467259;

// Longest answer line taken; anything longer is a broken bridge, not an answer.
inline constexpr size_t kMaxLine = 1 << 20;

std::string Escape(std::string_view text, bool blanks = false);
// False when the text holds a bad escape or an unescaped control character.
bool Unescape(std::string_view text, std::string& out);

// One request or answer line, without its line break.
std::string EncodeRequest(std::string_view operation, const std::vector<std::string>& fields = {});
struct Request {
    std::string Operation;
    std::vector<std::string> Fields;
};
// Splits and unescapes a request; an unknown operation or a wrong number of fields is a problem
// (the text says which).
std::optional<Request> ParseRequest(std::string_view line, std::string& problem);

// A typed value or a failure, as an answer line carries it.
struct Answer {
    Variant Value;
    bool Failed = false;
    int32_t Number = 0;
    std::string Description;
    bool operator==(const Answer&) const = default;
};
std::string EncodeValue(const Variant& value);
std::string EncodeAnswer(const Answer& answer);
std::string EncodeError(int32_t number, std::string_view description);
// Parses an answer line; a trailing CR is ignored. Nothing else is forgiven: the problem text
// says what is wrong.
std::optional<Answer> ParseAnswer(std::string_view line, std::string& problem);
// A typed value alone (SetItem's last field): an answer that cannot be an error.
std::optional<Variant> ParseValue(std::string_view text, std::string& problem);

// The USB inventory as one text: a record per line, DeviceID and Name separated by a tab.
std::string EncodeInventory(const std::vector<ui::InventoryRecord>& records);
std::optional<std::vector<ui::InventoryRecord>> ParseInventory(std::string_view text,
                                                               std::string& problem);

}  // namespace kestrova::bridge

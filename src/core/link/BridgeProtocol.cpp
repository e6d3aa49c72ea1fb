#include "link/BridgeProtocol.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <system_error>

#include "tools/Vb.h"

namespace kestrova::bridge {

namespace {

struct Operation {
    const char* Name;
    int Fields;  // for SetItem: the name, then the typed value
};

constexpr Operation kOperations[] = {
    {op::SendCommand, 1},   {op::SetItem, 2},  {op::RegisterGui, 2},
    {op::UnregisterGui, 1}, {op::CloseGui, 1}, {op::NotifyGuiReleased, 0},
    {op::UsbInventory, 0},  {op::Clock, 1},    {op::Control, 1},
};

bool IsControl(unsigned char c) {
    return c < 0x20 || c == 0x7F;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// The first word and the rest after one blank (empty when there is no blank).
std::string_view CutWord(std::string_view& rest) {
    const size_t blank = rest.find(' ');
    const std::string_view word = rest.substr(0, blank);
    rest = blank == std::string_view::npos ? std::string_view{} : rest.substr(blank + 1);
    return word;
}

template <class T>
bool ParseNumber(std::string_view text, T& value) {
    if (text.empty()) return false;
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    return ec == std::errc() && ptr == end;
}

std::string Quoted(std::string_view text) {
    constexpr size_t kShown = 60;
    const std::string shown = Escape(text.substr(0, kShown));
    return "'" + shown + (text.size() > kShown ? "...'" : "'");
}

std::optional<Answer> ParseTyped(std::string_view line, bool errorAllowed, std::string& problem) {
    std::string_view rest = line;
    const bool hasRest = line.find(' ') != std::string_view::npos;
    const std::string_view kind = CutWord(rest);
    Answer a;
    const auto bad = [&](const std::string& what) {
        problem = what;
        return std::nullopt;
    };
    const auto nothingMore = [&]() { return !hasRest; };
    if (kind == "text") {
        std::string text;
        if (!Unescape(rest, text)) return bad("bad escape or control character in the text");
        a.Value = std::move(text);
    } else if (kind == "int") {
        int64_t i = 0;
        if (!ParseNumber(rest, i)) return bad("int needs a whole number, not " + Quoted(rest));
        a.Value = i;
    } else if (kind == "real") {
        double d = 0;
        if (!ParseNumber(rest, d) || !std::isfinite(d))
            return bad("real needs a finite number, not " + Quoted(rest));
        a.Value = d;
    } else if (kind == "bool") {
        if (!IEquals(rest, "true") && !IEquals(rest, "false"))
            return bad("bool needs true or false, not " + Quoted(rest));
        a.Value = IEquals(rest, "true");
    } else if (kind == "empty") {
        if (!nothingMore()) return bad("empty takes nothing after it");
    } else if (kind == "null") {
        if (!nothingMore()) return bad("null takes nothing after it");
        a.Value = Variant::MakeNull();
    } else if (kind == "error" && errorAllowed) {
        const std::string_view number = CutWord(rest);
        if (!ParseNumber(number, a.Number))
            return bad("error needs a number first, not " + Quoted(number));
        if (!Unescape(rest, a.Description))
            return bad("bad escape or control character in the error's description");
        a.Failed = true;
    } else {
        return bad("not an answer: " + Quoted(line) + " (text, int, real, bool, empty, null" +
                   (errorAllowed ? ", error)" : ")"));
    }
    return a;
}

}  // namespace

std::string Escape(std::string_view text, bool blanks) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (IsControl(c) || (blanks && c == ' ')) {
            out += "\\x";
            out += kHex[c >> 4];
            out += kHex[c & 15];
        } else {
            out += ch;
        }
    }
    return out;
}

bool Unescape(std::string_view text, std::string& out) {
    out.clear();
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (IsControl(static_cast<unsigned char>(c))) return false;
        if (c != '\\') {
            out += c;
            continue;
        }
        if (++i >= text.size()) return false;
        switch (text[i]) {
            case '\\':
                out += '\\';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case 'x': {
                const int hi = i + 1 < text.size() ? HexDigit(text[i + 1]) : -1;
                const int lo = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
                if (hi < 0 || lo < 0) return false;
                out += static_cast<char>(hi * 16 + lo);
                i += 2;
                break;
            }
            default:
                return false;
        }
    }
    return true;
}

std::string EncodeRequest(std::string_view operation, const std::vector<std::string>& fields) {
    std::string line(operation);
    for (size_t i = 0; i < fields.size(); ++i)
        line += " " + Escape(fields[i], i + 1 < fields.size());
    return line;
}

std::optional<Request> ParseRequest(std::string_view line, std::string& problem) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    std::string_view rest = line;
    const bool hasRest = line.find(' ') != std::string_view::npos;
    const std::string_view name = CutWord(rest);
    const Operation* operation = nullptr;
    for (const Operation& o : kOperations)
        if (name == o.Name) operation = &o;
    if (!operation) {
        problem = "unknown operation " + Quoted(name);
        return std::nullopt;
    }
    Request request{std::string(name), {}};
    if (operation->Fields == 0) {
        if (hasRest) {
            problem = request.Operation + " takes no fields";
            return std::nullopt;
        }
        return request;
    }
    for (int i = 0; i < operation->Fields; ++i) {
        const bool last = i + 1 == operation->Fields;
        if (!last && rest.find(' ') == std::string_view::npos) {
            problem = request.Operation + " needs " + std::to_string(operation->Fields) + " fields";
            return std::nullopt;
        }
        const std::string_view field = last ? rest : CutWord(rest);
        request.Fields.emplace_back();
        if (last && name == op::SetItem) {
            // The item's value is typed as an answer is; it is unescaped by that parser.
            const std::optional<Answer> value = ParseTyped(field, false, problem);
            if (!value) return std::nullopt;
            request.Fields.back() = std::string(field);
        } else if (!Unescape(field, request.Fields.back())) {
            problem = "bad escape or control character in field " + std::to_string(i + 1) + " of " +
                      request.Operation;
            return std::nullopt;
        }
    }
    return request;
}

std::string EncodeValue(const Variant& value) {
    if (value.IsEmpty()) return "empty";
    if (value.IsNull()) return "null";
    if (value.IsBool()) return value.Bool() ? "bool true" : "bool false";
    if (value.IsInteger()) return "int " + std::to_string(value.Integer());
    if (value.IsReal()) {
        char buffer[64];
        const auto [end, ec] = std::to_chars(std::begin(buffer), std::end(buffer), value.Real());
        return ec == std::errc() && std::isfinite(value.Real()) ? "real " + std::string(buffer, end)
                                                                : "null";
    }
    return "text " + Escape(value.ToText());
}

std::string EncodeError(int32_t number, std::string_view description) {
    return "error " + std::to_string(number) + " " + Escape(description);
}

std::string EncodeAnswer(const Answer& answer) {
    return answer.Failed ? EncodeError(answer.Number, answer.Description)
                         : EncodeValue(answer.Value);
}

std::optional<Answer> ParseAnswer(std::string_view line, std::string& problem) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return ParseTyped(line, true, problem);
}

std::optional<Variant> ParseValue(std::string_view text, std::string& problem) {
    std::optional<Answer> a = ParseTyped(text, false, problem);
    if (!a) return std::nullopt;
    return a->Value;
}

std::string EncodeInventory(const std::vector<ui::InventoryRecord>& records) {
    // A tab or line break inside a field would split the record; it stands as a blank instead.
    const auto field = [](std::string text) {
        for (char& c : text)
            if (c == '\t' || c == '\n' || c == '\r') c = ' ';
        return text;
    };
    std::string text;
    for (const ui::InventoryRecord& r : records)
        text += field(r.DeviceID) + "\t" + field(r.Name) + "\n";
    return text;
}

std::optional<std::vector<ui::InventoryRecord>> ParseInventory(std::string_view text,
                                                               std::string& problem) {
    std::vector<ui::InventoryRecord> records;
    size_t number = 0;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        ++number;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const size_t tab = line.find('\t');
        if (tab == std::string_view::npos) {
            problem = "inventory record " + std::to_string(number) +
                      " has no tab between DeviceID and Name: " + Quoted(line);
            return std::nullopt;
        }
        records.push_back({std::string(line.substr(0, tab)), std::string(line.substr(tab + 1))});
    }
    return records;
}

}  // namespace kestrova::bridge

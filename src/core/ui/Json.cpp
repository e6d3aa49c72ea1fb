#include "ui/Json.h"

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <vector>

#include "tools/Vb.h"

namespace kestrova::ui {

namespace {

// Length of the well-formed UTF-8 sequence at text[i], or 0 when the bytes there are not one
// (stray continuation bytes, overlong forms, surrogates, values above U+10FFFF, cut sequences).
size_t Utf8SequenceLength(std::string_view text, size_t i) {
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char b0 = byte(i);
    size_t len;
    unsigned char lo = 0x80, hi = 0xBF;  // allowed range of the second byte
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        len = 2;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        len = 3;
        if (b0 == 0xE0) lo = 0xA0;
        if (b0 == 0xED) hi = 0x9F;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        len = 4;
        if (b0 == 0xF0) lo = 0x90;
        if (b0 == 0xF4) hi = 0x8F;
    } else {
        return 0;
    }
    if (i + len > text.size()) return 0;
    if (byte(i + 1) < lo || byte(i + 1) > hi) return 0;
    for (size_t k = 2; k < len; ++k)
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    return len;
}

std::string Number(int64_t value) {
    return std::to_string(value);
}
std::string Bool(bool value) {
    return value ? "true" : "false";
}

// Builds one JSON object member by member.
class Object {
  public:
    Object& Raw(std::string_view name, const std::string& json) {
        out_ += first_ ? "{" : ",";
        first_ = false;
        out_ += JsonString(name);
        out_ += ':';
        out_ += json;
        return *this;
    }
    Object& Str(std::string_view name, std::string_view text) {
        return Raw(name, JsonString(text));
    }
    std::string Done() { return first_ ? "{}" : out_ + "}"; }

  private:
    std::string out_;
    bool first_ = true;
};

template <class Items, class Fn>
std::string Array(const Items& items, Fn&& each) {
    std::string out = "[";
    for (size_t i = 0; i < items.size(); ++i) {
        if (i) out += ',';
        out += each(items[i]);
    }
    return out + "]";
}

std::string NodeJson(const Control& c, const TreeNode& n) {
    return Object()
        .Str("Key", n.Key)
        .Str("Text", n.Text)
        .Raw("BackColor", Number(n.BackColor))
        .Raw("ForeColor", Number(n.ForeColor))
        .Raw("Selected", Bool(!n.Key.empty() && n.Key == c.SelectedKey()))
        .Done();
}

std::string ColumnJson(const ColumnHeader& h) {
    return Object().Str("Text", h.Text).Raw("Width", Number(h.Width)).Done();
}

std::string RowJson(const std::vector<std::string>& row) {
    return Array(row, [](const std::string& cell) { return JsonString(cell); });
}

std::string PanelJson(const Panel& p) {
    return Object()
        .Str("Text", p.Text)
        .Str("Picture", p.Picture)
        .Raw("Width", Number(p.Width))
        .Done();
}

PropertyValue TextValue(std::string text) {
    PropertyValue v;
    v.Json = JsonString(text);
    v.Text = std::move(text);
    return v;
}
PropertyValue NumberValue(int64_t n) {
    PropertyValue v;
    v.Json = v.Text = Number(n);
    v.IsNumber = true;
    return v;
}
PropertyValue BoolValue(bool b) {
    PropertyValue v;
    v.Json = v.Text = Bool(b);
    v.IsBool = true;
    return v;
}
PropertyValue JsonValue(std::string json) {
    PropertyValue v;
    v.Json = v.Text = std::move(json);
    return v;
}

PropertyValue Value(const Control& c, Prop prop) {
    switch (prop) {
        case Prop::Caption:
            return TextValue(c.Caption());
        case Prop::Text:
            return TextValue(c.Text());
        case Prop::ToolTipText:
            return TextValue(c.ToolTipText());
        case Prop::Picture:
            return TextValue(c.Picture());
        case Prop::Enabled:
            return BoolValue(c.Enabled());
        case Prop::Visible:
            return BoolValue(c.Visible());
        case Prop::Locked:
            return BoolValue(c.Locked());
        case Prop::FontBold:
            return BoolValue(c.FontBold());
        case Prop::MultiLine:
            return BoolValue(c.MultiLine());
        case Prop::BackColor:
            return NumberValue(c.BackColor());
        case Prop::ForeColor:
            return NumberValue(c.ForeColor());
        case Prop::FillColor:
            return NumberValue(c.FillColor());
        case Prop::Value:
            return NumberValue(c.Value());
        case Prop::ListIndex:
            return NumberValue(c.ListIndex());
        case Prop::Interval:
            return NumberValue(c.Interval());
        case Prop::Left:
            return NumberValue(c.Left());
        case Prop::Top:
            return NumberValue(c.Top());
        case Prop::Width:
            return NumberValue(c.Width());
        case Prop::Height:
            return NumberValue(c.Height());
        case Prop::Shape:
            return NumberValue(c.ShapeKind());
        case Prop::FontSize: {
            PropertyValue v = JsonValue(kestrova::Str(c.FontSize()));
            v.IsNumber = true;
            return v;
        }
        case Prop::List:
            return JsonValue(Array(c.List(), [](const std::string& s) { return JsonString(s); }));
        case Prop::Nodes:
            return JsonValue(Array(c.Nodes(), [&c](const TreeNode& n) { return NodeJson(c, n); }));
        case Prop::ColumnHeaders:
            return JsonValue(Array(c.ColumnHeaders(), ColumnJson));
        case Prop::ListItems:
            return JsonValue(Array(c.ListItems(), RowJson));
        case Prop::Panels:
            return JsonValue(Array(c.Panels(), PanelJson));
    }
    return JsonValue("null");
}

// The properties that matter for each kind, in the order they are printed.
std::vector<Prop> PropsOf(Kind kind) {
    using enum Prop;
    std::vector<Prop> props;
    switch (kind) {
        case Kind::UserControl:
            props = {Visible, Enabled, BackColor};
            break;
        case Kind::Label:
            props = {Caption, Visible, Enabled, ForeColor, BackColor, FontBold, ToolTipText};
            break;
        case Kind::TextBox:
            props = {Text, Visible, Enabled, Locked, ForeColor, BackColor, MultiLine, ToolTipText};
            break;
        case Kind::CommandButton:
            props = {Caption, Visible, Enabled, ToolTipText};
            break;
        case Kind::CheckBox:
        case Kind::OptionButton:
            props = {Caption, Value, Visible, Enabled, ForeColor, ToolTipText};
            break;
        case Kind::ComboBox:
            props = {Text, ListIndex, List, Visible, Enabled, ToolTipText};
            break;
        case Kind::Frame:
            props = {Caption, Visible, Enabled, ForeColor};
            break;
        case Kind::Shape:
            props = {Shape, FillColor, BackColor, Visible};
            break;
        case Kind::Image:
            props = {Picture, Visible, ToolTipText};
            break;
        case Kind::Timer:
            return {Enabled, Interval};  // a timer has no place on the screen
        case Kind::TreeView:
            props = {Nodes, Visible, Enabled, BackColor};
            break;
        case Kind::ListView:
            props = {ColumnHeaders, ListItems, Visible, Enabled};
            break;
        case Kind::StatusBar:
            props = {Panels, Visible};
            break;
    }
    props.insert(props.end(), {Left, Top, Width, Height});
    return props;
}

std::string Members(const Control& c, Object& obj) {
    obj.Str("kind", KindName(c.GetKind())).Str("name", c.Name());
    if (c.Index() >= 0) obj.Raw("index", Number(c.Index()));
    for (Prop p : PropsOf(c.GetKind())) obj.Raw(PropName(p), Value(c, p).Json);
    return obj.Done();
}

// --- property names with elements: Base[(arg)][.Field[(arg)]] ---

struct Selector {
    std::string_view base, arg, field, fieldArg;
    bool hasArg = false, hasFieldArg = false;
};

[[noreturn]] void Bad(const std::string& message) {
    throw std::invalid_argument(message);
}

// Splits "name(arg)rest" at its parentheses; false when they do not pair up.
bool SplitCall(std::string_view& text, std::string_view& name, std::string_view& arg,
               bool& hasArg) {
    const size_t open = text.find_first_of("(.");
    name = text.substr(0, open);
    if (open == std::string_view::npos || text[open] == '.') {
        text = open == std::string_view::npos ? std::string_view{} : text.substr(open);
        return true;
    }
    const size_t close = text.find(')', open);
    if (close == std::string_view::npos) return false;
    arg = text.substr(open + 1, close - open - 1);
    hasArg = true;
    text = text.substr(close + 1);
    return true;
}

Selector Parse(std::string_view name) {
    Selector s;
    std::string_view rest = name;
    if (!SplitCall(rest, s.base, s.arg, s.hasArg) || s.base.empty())
        Bad("malformed property " + std::string(name));
    if (!rest.empty()) {
        if (rest.front() != '.') Bad("malformed property " + std::string(name));
        rest.remove_prefix(1);
        if (!SplitCall(rest, s.field, s.fieldArg, s.hasFieldArg) || s.field.empty() ||
            !rest.empty())
            Bad("malformed property " + std::string(name));
    }
    return s;
}

std::optional<size_t> Position(std::string_view text) {
    const std::string t = Trim(text);
    if (t.size() > 9 || !IsDigits(t)) return std::nullopt;
    return static_cast<size_t>(std::stoul(t));
}

// The element of a 1-based collection, or an error naming what exists.
size_t OneBased(const Selector& s, size_t count, const char* what) {
    const auto pos = Position(s.arg);
    if (!pos || *pos < 1 || *pos > count)
        Bad(std::string(s.base) + "(" + std::string(s.arg) +
            ") does not exist: " + std::to_string(count) + " " + what);
    return *pos - 1;
}

void NoField(const Selector& s) {
    if (!s.field.empty())
        Bad("unknown property " + std::string(s.base) + "(...)." + std::string(s.field));
}

[[noreturn]] void UnknownField(const Selector& s) {
    Bad(std::string(s.base) + " has no field " + std::string(s.field));
}

PropertyValue Element(const Control& c, const Selector& s) {
    // Only SubItems takes an argument: a check naming Text(2) must fail, not read Text.
    if (s.hasFieldArg && !IEquals(s.field, "SubItems"))
        Bad(std::string(s.field) + " takes no argument");
    if (IEquals(s.base, "List")) {
        NoField(s);
        const auto pos = Position(s.arg);
        if (!pos || *pos >= c.List().size())
            Bad("List(" + std::string(s.arg) +
                ") does not exist: " + std::to_string(c.List().size()) + " entries");
        return TextValue(c.List()[*pos]);
    }
    if (IEquals(s.base, "Nodes")) {
        const TreeNode* node = nullptr;
        if (const auto pos = Position(s.arg)) {
            if (*pos >= 1 && *pos <= c.Nodes().size()) node = &c.Nodes()[*pos - 1];
        } else {
            for (const TreeNode& n : c.Nodes())
                if (n.Key == s.arg) node = &n;
        }
        if (!node) Bad("Nodes(" + std::string(s.arg) + ") does not exist");
        if (s.field.empty()) return JsonValue(NodeJson(c, *node));
        if (IEquals(s.field, "Key")) return TextValue(node->Key);
        if (IEquals(s.field, "Text")) return TextValue(node->Text);
        if (IEquals(s.field, "BackColor")) return NumberValue(node->BackColor);
        if (IEquals(s.field, "ForeColor")) return NumberValue(node->ForeColor);
        if (IEquals(s.field, "Selected"))
            return BoolValue(!node->Key.empty() && node->Key == c.SelectedKey());
        UnknownField(s);
    }
    if (IEquals(s.base, "ColumnHeaders")) {
        const ColumnHeader& h = c.ColumnHeaders()[OneBased(s, c.ColumnHeaders().size(), "columns")];
        if (s.field.empty()) return JsonValue(ColumnJson(h));
        if (IEquals(s.field, "Text")) return TextValue(h.Text);
        if (IEquals(s.field, "Width")) return NumberValue(h.Width);
        UnknownField(s);
    }
    if (IEquals(s.base, "ListItems")) {
        const auto& row = c.ListItems()[OneBased(s, c.ListItems().size(), "rows")];
        if (s.field.empty()) return JsonValue(RowJson(row));
        if (IEquals(s.field, "Text") && !s.hasFieldArg) return TextValue(row.empty() ? "" : row[0]);
        if (IEquals(s.field, "SubItems") && s.hasFieldArg) {
            const auto col = Position(s.fieldArg);
            // A row shorter than the columns reads as empty cells, as the list view shows it.
            if (!col || *col < 1) Bad("SubItems(" + std::string(s.fieldArg) + ") does not exist");
            return TextValue(*col < row.size() ? row[*col] : "");
        }
        UnknownField(s);
    }
    if (IEquals(s.base, "Panels")) {
        const Panel& p = c.Panels()[OneBased(s, c.Panels().size(), "panels")];
        if (s.field.empty()) return JsonValue(PanelJson(p));
        if (IEquals(s.field, "Text")) return TextValue(p.Text);
        if (IEquals(s.field, "Picture")) return TextValue(p.Picture);
        if (IEquals(s.field, "Width")) return NumberValue(p.Width);
        UnknownField(s);
    }
    Bad("unknown property " + std::string(s.base) + "(" + std::string(s.arg) + ")");
}

std::optional<size_t> CountOf(const Control& c, std::string_view base) {
    if (IEquals(base, "List")) return c.List().size();
    if (IEquals(base, "Nodes")) return c.Nodes().size();
    if (IEquals(base, "ColumnHeaders")) return c.ColumnHeaders().size();
    if (IEquals(base, "ListItems")) return c.ListItems().size();
    if (IEquals(base, "Panels")) return c.Panels().size();
    return std::nullopt;
}

constexpr Prop kAllProps[] = {
    Prop::Caption,   Prop::Text,      Prop::Enabled,   Prop::Visible,       Prop::Locked,
    Prop::BackColor, Prop::ForeColor, Prop::FillColor, Prop::ToolTipText,   Prop::Value,
    Prop::ListIndex, Prop::List,      Prop::Interval,  Prop::Left,          Prop::Top,
    Prop::Width,     Prop::Height,    Prop::Picture,   Prop::FontBold,      Prop::FontSize,
    Prop::Shape,     Prop::MultiLine, Prop::Nodes,     Prop::ColumnHeaders, Prop::ListItems,
    Prop::Panels,
};

}  // namespace

std::string JsonString(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    for (size_t i = 0; i < text.size();) {
        const auto ch = static_cast<unsigned char>(text[i]);
        if (ch >= 0x80) {
            const size_t len = Utf8SequenceLength(text, i);
            if (len) {
                out.append(text.substr(i, len));
                i += len;
            } else {
                out += "\xEF\xBF\xBD";
                ++i;
            }
            continue;
        }
        switch (ch) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            default:
                if (ch < 0x20 || ch == 0x7F) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\u%04x", ch);
                    out += buf;
                } else {
                    out += static_cast<char>(ch);
                }
        }
        ++i;
    }
    out += '"';
    return out;
}

bool ParseJsonString(std::string_view literal, std::string& text) {
    if (literal.size() < 2 || literal.front() != '"' || literal.back() != '"') return false;
    const std::string_view body = literal.substr(1, literal.size() - 2);
    std::string out;
    const auto hex4 = [&](size_t at, uint32_t& value) {
        if (at + 4 > body.size()) return false;
        value = 0;
        for (size_t k = at; k < at + 4; ++k) {
            const char ch = body[k];
            const int d = ch >= '0' && ch <= '9'   ? ch - '0'
                          : ch >= 'a' && ch <= 'f' ? ch - 'a' + 10
                          : ch >= 'A' && ch <= 'F' ? ch - 'A' + 10
                                                   : -1;
            if (d < 0) return false;
            value = value * 16 + static_cast<uint32_t>(d);
        }
        return true;
    };
    for (size_t i = 0; i < body.size(); ++i) {
        const char ch = body[i];
        if (ch == '"') return false;  // a quote inside must be escaped
        if (ch != '\\') {
            out += ch;
            continue;
        }
        if (++i >= body.size()) return false;
        switch (body[i]) {
            case '"':
                out += '"';
                break;
            case '\\':
                out += '\\';
                break;
            case '/':
                out += '/';
                break;
            case 'b':
                out += '\b';
                break;
            case 'f':
                out += '\f';
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
            case 'u': {
                uint32_t cp = 0;
                if (!hex4(i + 1, cp)) return false;
                i += 4;
                if (cp >= 0xDC00 && cp <= 0xDFFF) return false;
                if (cp >= 0xD800 && cp <= 0xDBFF) {
                    uint32_t low = 0;
                    if (i + 2 >= body.size() || body[i + 1] != '\\' || body[i + 2] != 'u' ||
                        !hex4(i + 3, low) || low < 0xDC00 || low > 0xDFFF)
                        return false;
                    i += 6;
                    cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                }
                AppendUtf8(out, cp);
                break;
            }
            default:
                return false;
        }
    }
    text = std::move(out);
    return true;
}

std::string ToJson(const Control& control) {
    Object obj;
    return Members(control, obj);
}

std::string ToJson(const Control& control, std::string_view path) {
    Object obj;
    obj.Str("path", path);
    return Members(control, obj);
}

PropertyValue ReadProperty(const Control& control, std::string_view name) {
    const std::string trimmed = Trim(name);  // the selector points into it
    const Selector s = Parse(trimmed);
    if (s.hasArg) return Element(control, s);
    if (!s.field.empty()) {
        if (IEquals(s.field, "Count") && !s.hasFieldArg)
            if (const auto n = CountOf(control, s.base))
                return NumberValue(static_cast<int64_t>(*n));
        Bad("unknown property " + std::string(s.base) + "." + std::string(s.field));
    }
    for (Prop p : kAllProps)
        if (IEquals(s.base, PropName(p))) return Value(control, p);
    if (IEquals(s.base, "ListCount")) return NumberValue(control.ListCount());
    if (IEquals(s.base, "SelectedKey")) return TextValue(control.SelectedKey());
    Bad("unknown property " + std::string(s.base));
}

}  // namespace kestrova::ui

// Controls as JSON, one object per line: what the scripted frame prints and what end-to-end
// checks read. Property names are those of PropName; colours are plain integers.
#pragma once

#include <string>
#include <string_view>

#include "ui/Control.h"

namespace kestrova::ui {

// A JSON string literal, quotes included. UTF-8 passes through; control characters are escaped
// and bytes that are not UTF-8 become U+FFFD, so the output is always valid JSON.
std::string JsonString(std::string_view text);
// Reads a JSON string literal, quotes included, back into UTF-8 text; false when the literal is
// malformed (no closing quote, a bad escape, a lone surrogate).
bool ParseJsonString(std::string_view literal, std::string& text);

// One line: "kind", "name", "index" (array elements only) and the properties of that kind.
std::string ToJson(const Control& control);
// The same with "path" first, for listings of many controls.
std::string ToJson(const Control& control, std::string_view path);

// One property, as JSON and as plain text (strings unquoted, numbers in decimal, booleans
// "true"/"false", lists as their JSON).
struct PropertyValue {
    std::string Json;
    std::string Text;
    bool IsBool = false;
    bool IsNumber = false;
};

// Reads a property by name, case-insensitively: any name of PropName, "ListCount" and
// "SelectedKey", or an element of a collection:
//   List(i)                      0-based combo box entry; List.Count
//   Nodes(KEY) / Nodes(n)        tree node by key or 1-based position, with .Key .Text
//                                .BackColor .ForeColor .Selected; Nodes.Count
//   ColumnHeaders(n)             1-based, with .Text .Width; ColumnHeaders.Count
//   ListItems(r)                 1-based row, with .Text (first cell) and .SubItems(c);
//                                ListItems.Count
//   Panels(n)                    1-based, with .Text .Picture .Width; Panels.Count
// An unknown name or an element that does not exist throws std::invalid_argument with a
// one-line message.
PropertyValue ReadProperty(const Control& control, std::string_view name);

}  // namespace kestrova::ui

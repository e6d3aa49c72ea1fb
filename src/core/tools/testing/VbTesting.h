// Helpers of the core's unit tests: the number of a raised error, and numbers as one text so
// that table rows stay on one line.
#pragma once

#include <cstdint>
#include <string>

#include "tools/Vb.h"

namespace kestrova {

// Number of the VbError f raises, 0 when it raises none; the description goes to description.
template <class F>
int32_t ErrorOf(F&& f, std::string* description = nullptr) try {
    f();
    return 0;
} catch (const VbError& e) {
    if (description) *description = e.Description();
    return e.Number();
}

// The values separated by single blanks ("" for none).
template <class C>
std::string Text(const C& values) {
    std::string s;
    for (auto v : values) s += (s.empty() ? "" : " ") + std::to_string(v);
    return s;
}

}  // namespace kestrova

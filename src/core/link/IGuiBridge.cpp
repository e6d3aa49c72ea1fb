#include "link/IGuiBridge.h"

#include "tools/Vb.h"

namespace kestrova {

std::string Variant::ToText() const {
    struct Visitor {
        std::string operator()(Empty) const { return {}; }
        std::string operator()(Null) const { throw VbError(94, "Invalid use of Null"); }
        std::string operator()(bool b) const { return b ? "True" : "False"; }
        std::string operator()(int64_t i) const { return Str(i); }
        std::string operator()(double d) const { return Str(d); }
        std::string operator()(const std::string& s) const { return s; }
    };
    return std::visit(Visitor{}, v_);
}

}  // namespace kestrova

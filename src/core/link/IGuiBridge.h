// The business object's interface as the control sees it. The business object owns all device
// communication; the control reaches it only through these operations. A failing call throws
// VbError carrying the business object's error number and description.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace kestrova {

// An automation-style value as the business object answers it. The control turns it into text
// at once (ToText), the way the original runtime did.
class Variant {
  public:
    struct Empty {};
    struct Null {};

    Variant() = default;
    Variant(const char* text) : v_(std::string(text)) {}
    Variant(std::string text) : v_(std::move(text)) {}
    Variant(bool b) : v_(b) {}
    Variant(int32_t i) : v_(int64_t{i}) {}
    Variant(int64_t i) : v_(i) {}
    Variant(double d) : v_(d) {}
    static Variant MakeNull() {
        Variant v;
        v.v_ = Null{};
        return v;
    }

    bool IsEmpty() const { return std::holds_alternative<Empty>(v_); }
    bool IsNull() const { return std::holds_alternative<Null>(v_); }
    bool IsText() const { return std::holds_alternative<std::string>(v_); }
    bool IsBool() const { return std::holds_alternative<bool>(v_); }
    bool IsInteger() const { return std::holds_alternative<int64_t>(v_); }
    bool IsReal() const { return std::holds_alternative<double>(v_); }
    // The value itself; only for the kind the matching Is... answers true.
    bool Bool() const { return std::get<bool>(v_); }
    int64_t Integer() const { return std::get<int64_t>(v_); }
    double Real() const { return std::get<double>(v_); }

    // Empty -> "", true -> "True", false -> "False", numbers in decimal; Null raises
    // "Invalid use of Null" (94).
    std::string ToText() const;

    bool operator==(const Variant&) const = default;

  private:
    std::variant<Empty, Null, bool, int64_t, double, std::string> v_;
    friend bool operator==(Empty, Empty) { return true; }
    friend bool operator==(Null, Null) { return true; }
};

// Interface identifier of the business object's GUI bridge, and the release notification.
inline constexpr const char* kIGuiBridgeIid = "{6563A3BC-9DCE-4D6C-8435-B9C4932192A7}";
inline constexpr const char* kIGuiReleaseNotifyIid = "{626791C6-449D-4482-9F54-57A4778FEE40}";
inline constexpr const char* kIDtmIid = "{036D1481-387B-11D4-86E1-00E0987270B9}";

class IGuiBridge {
  public:
    virtual ~IGuiBridge() = default;
    virtual void RegisterGui(const std::string& progId, const std::string& invokeId) = 0;
    virtual void UnregisterGui(const std::string& invokeId) = 0;
    virtual void CloseGui(const std::string& invokeId) = 0;
    // Item reads ("USBDevice") and IO-Link commands ("IOL::Connect") alike.
    virtual Variant SendCommand(const std::string& text) = 0;
    virtual void SetItem(const std::string& name, const Variant& value) = 0;
    // IGuiReleaseNotify::NotifyGuiReleased.
    virtual void NotifyGuiReleased() = 0;
};

}  // namespace kestrova

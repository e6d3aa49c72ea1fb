#include "ComBridge.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

#include "Kestrova_h.h"
#include "tools/Vb.h"

namespace kestrova::win {

namespace {

// Single-precision values print with the seven significant digits they carry.
double SingleAsShown(float value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.7g", static_cast<double>(value));
    return std::strtod(text, nullptr);
}

Variant ThroughSystemText(const VARIANT& value) {
    ComVariant text;
    if (FAILED(VariantChangeTypeEx(text.Put(), const_cast<VARIANT*>(&value), LOCALE_USER_DEFAULT, 0,
                                   VT_BSTR)))
        Raise(vberr::TypeMismatch);
    return Variant(Bstr::ToUtf8(text.Get()->bstrVal));
}

std::string SystemMessage(HRESULT hr) {
    wchar_t* buffer = nullptr;
    const DWORD n = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(hr), 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    std::string text = n ? Narrow({buffer, n}) : std::string();
    LocalFree(buffer);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    return text;
}

class Bridge : public kestrova::IGuiBridge {
  public:
    explicit Bridge(IUnknown* dtm) {
        if (!dtm) return;
        dtm->QueryInterface(__uuidof(::IGuiBridge), bridge_.PutVoid());
        dtm->QueryInterface(__uuidof(::IGuiReleaseNotify), notify_.PutVoid());
    }

    void RegisterGui(const std::string& progId, const std::string& invokeId) override {
        Call([&] { return Gui()->RegisterGui(Bstr(progId).Get(), Bstr(invokeId).Get()); });
    }
    void UnregisterGui(const std::string& invokeId) override {
        Call([&] { return Gui()->UnregisterGui(Bstr(invokeId).Get()); });
    }
    void CloseGui(const std::string& invokeId) override {
        Call([&] { return Gui()->CloseGui(Bstr(invokeId).Get()); });
    }
    Variant SendCommand(const std::string& text) override {
        ComVariant answer;
        Call([&] { return Gui()->SendCommand(Bstr(text).Get(), answer.Put()); });
        return FromVariant(*answer.Get());
    }
    void SetItem(const std::string& name, const Variant& value) override {
        ComVariant v;
        ToVariant(value, v.Put());
        Call([&] { return Gui()->SetItem(Bstr(name).Get(), *v.Get()); });
    }
    void NotifyGuiReleased() override {
        Gui();
        Call([&] { return notify_->NotifyGuiReleased(); });
    }

  private:
    ::IGuiBridge* Gui() const {
        if (!bridge_ || !notify_) Raise(vberr::TypeMismatch);
        return bridge_.Get();
    }
    template <class Fn>
    static void Call(Fn&& fn) {
        ClearErrorInfo();
        Check(fn());
    }

    ComPtr<::IGuiBridge> bridge_;
    ComPtr<::IGuiReleaseNotify> notify_;
};

}  // namespace

Variant FromVariant(const VARIANT& value) {
    if (V_VT(&value) & VT_BYREF) {
        ComVariant plain;
        if (FAILED(VariantCopyInd(plain.Get(), const_cast<VARIANT*>(&value))))
            Raise(vberr::TypeMismatch);
        return FromVariant(*plain.Get());
    }
    switch (V_VT(&value)) {
        case VT_EMPTY:
            return Variant();
        case VT_NULL:
            return Variant::MakeNull();
        case VT_BSTR:
            return Variant(Bstr::ToUtf8(V_BSTR(&value)));
        case VT_BOOL:
            return Variant(V_BOOL(&value) != VARIANT_FALSE);
        case VT_I1:
            return Variant(int64_t{V_I1(&value)});
        case VT_UI1:
            return Variant(int64_t{V_UI1(&value)});
        case VT_I2:
            return Variant(int64_t{V_I2(&value)});
        case VT_UI2:
            return Variant(int64_t{V_UI2(&value)});
        case VT_I4:
            return Variant(int64_t{V_I4(&value)});
        case VT_INT:
            return Variant(int64_t{V_INT(&value)});
        case VT_UI4:
            return Variant(int64_t{V_UI4(&value)});
        case VT_UINT:
            return Variant(int64_t{V_UINT(&value)});
        case VT_I8:
            return Variant(int64_t{V_I8(&value)});
        case VT_UI8:
            if (V_UI8(&value) > static_cast<ULONGLONG>(std::numeric_limits<int64_t>::max()))
                Raise(vberr::Overflow);
            return Variant(static_cast<int64_t>(V_UI8(&value)));
        case VT_R4:
            return Variant(SingleAsShown(V_R4(&value)));
        case VT_R8:
            return Variant(V_R8(&value));
        case VT_CY:
            return Variant(static_cast<double>(V_CY(&value).int64) / 10000.0);
        case VT_DATE:
        case VT_DECIMAL:
        case VT_DISPATCH:
            return ThroughSystemText(value);
        default:
            Raise(vberr::TypeMismatch);
    }
}

void ToVariant(const Variant& value, VARIANT* out) {
    VariantInit(out);
    if (value.IsEmpty()) return;
    if (value.IsNull()) {
        V_VT(out) = VT_NULL;
        return;
    }
    const std::string text = value.ToText();
    if (value.IsBool()) {
        V_VT(out) = VT_BOOL;
        V_BOOL(out) = value == Variant(true) ? VARIANT_TRUE : VARIANT_FALSE;
        return;
    }
    if (!value.IsText()) {
        const double number = CDbl(text);
        if (number == static_cast<double>(static_cast<int32_t>(number))) {
            V_VT(out) = VT_I4;
            V_I4(out) = static_cast<int32_t>(number);
        } else {
            V_VT(out) = VT_R8;
            V_R8(out) = number;
        }
        return;
    }
    V_VT(out) = VT_BSTR;
    V_BSTR(out) = Bstr(text).Detach();
}

void ClearErrorInfo() {
    SetErrorInfo(0, nullptr);
}

VbError ErrorOf(HRESULT hr) {
    const bool automation = HRESULT_FACILITY(hr) == FACILITY_CONTROL;
    const int32_t number = automation ? static_cast<int32_t>(HRESULT_CODE(hr)) : hr;
    std::string description;
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) == S_OK && info) {
        Bstr text;
        if (SUCCEEDED(info->GetDescription(text.Put()))) description = text.Utf8();
    }
    if (description.empty() && automation) description = VbErrorText(number);
    if (description.empty()) {
        description = "Automation error";
        if (std::string system = SystemMessage(hr); !system.empty()) description += "\r\n" + system;
    }
    return VbError(number, description);
}

void Check(HRESULT hr) {
    if (FAILED(hr)) throw ErrorOf(hr);
}

std::shared_ptr<kestrova::IGuiBridge> MakeComBridge(IUnknown* dtm) {
    if (!dtm) return nullptr;
    return std::make_shared<Bridge>(dtm);
}

}  // namespace kestrova::win

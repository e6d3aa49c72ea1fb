// Automation values and COM errors as the control reads them from a business object.
#include "ComBridge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "BusinessObject.h"
#include "link/testing/FakeBridge.h"

using namespace kestrova;
using namespace kestrova::win;

namespace {

struct VariantCase {
    const char* Name;
    std::function<void(VARIANT&)> Make;
    const char* Text;  // expected text, or null when the conversion raises
    int32_t Error;     // the error number raised
};

TEST(ComBridge, AnswerValuesBecomeTextAsTheRuntimeConvertsThem) {
    static LONG byRefLong = -42;
    static BSTR byRefText = SysAllocString(L"OK:0");
    const VariantCase cases[] = {
        {"text", [](VARIANT& v) { V_VT(&v) = VT_BSTR, V_BSTR(&v) = SysAllocString(L"COM3"); },
         "COM3", 0},
        {"non-ASCII text",
         [](VARIANT& v) { V_VT(&v) = VT_BSTR, V_BSTR(&v) = SysAllocString(L"Gr\u00FC\u00DFe"); },
         "Gr\xC3\xBC\xC3\x9F"
         "e",
         0},
        {"null text", [](VARIANT& v) { V_VT(&v) = VT_BSTR, V_BSTR(&v) = nullptr; }, "", 0},
        {"true", [](VARIANT& v) { V_VT(&v) = VT_BOOL, V_BOOL(&v) = VARIANT_TRUE; }, "True", 0},
        {"false", [](VARIANT& v) { V_VT(&v) = VT_BOOL, V_BOOL(&v) = VARIANT_FALSE; }, "False", 0},
        {"byte", [](VARIANT& v) { V_VT(&v) = VT_UI1, V_UI1(&v) = 255; }, "255", 0},
        {"char", [](VARIANT& v) { V_VT(&v) = VT_I1, V_I1(&v) = -7; }, "-7", 0},
        {"integer", [](VARIANT& v) { V_VT(&v) = VT_I2, V_I2(&v) = -32768; }, "-32768", 0},
        {"word", [](VARIANT& v) { V_VT(&v) = VT_UI2, V_UI2(&v) = 65535; }, "65535", 0},
        {"long", [](VARIANT& v) { V_VT(&v) = VT_I4, V_I4(&v) = 1031; }, "1031", 0},
        {"dword", [](VARIANT& v) { V_VT(&v) = VT_UI4, V_UI4(&v) = 4294967295u; }, "4294967295", 0},
        {"int", [](VARIANT& v) { V_VT(&v) = VT_INT, V_INT(&v) = -1; }, "-1", 0},
        {"uint", [](VARIANT& v) { V_VT(&v) = VT_UINT, V_UINT(&v) = 7; }, "7", 0},
        {"64-bit", [](VARIANT& v) { V_VT(&v) = VT_I8, V_I8(&v) = -9007199254740993LL; },
         "-9007199254740993", 0},
        {"64-bit unsigned in range", [](VARIANT& v) { V_VT(&v) = VT_UI8, V_UI8(&v) = 12; }, "12",
         0},
        {"64-bit unsigned too large",
         [](VARIANT& v) { V_VT(&v) = VT_UI8, V_UI8(&v) = 0xFFFFFFFFFFFFFFFFull; }, nullptr, 6},
        {"single keeps its seven digits", [](VARIANT& v) { V_VT(&v) = VT_R4, V_R4(&v) = 0.1f; },
         "0.1", 0},
        {"double", [](VARIANT& v) { V_VT(&v) = VT_R8, V_R8(&v) = 1.5; }, "1.5", 0},
        {"whole double", [](VARIANT& v) { V_VT(&v) = VT_R8, V_R8(&v) = 300.0; }, "300", 0},
        {"currency", [](VARIANT& v) { V_VT(&v) = VT_CY, V_CY(&v).int64 = 12345; }, "1.2345", 0},
        {"empty", [](VARIANT& v) { V_VT(&v) = VT_EMPTY; }, "", 0},
        {"by reference", [](VARIANT& v) { V_VT(&v) = VT_I4 | VT_BYREF, V_I4REF(&v) = &byRefLong; },
         "-42", 0},
        {"text by reference",
         [](VARIANT& v) { V_VT(&v) = VT_BSTR | VT_BYREF, V_BSTRREF(&v) = &byRefText; }, "OK:0", 0},
        {"Null", [](VARIANT& v) { V_VT(&v) = VT_NULL; }, nullptr, 94},
        {"error value", [](VARIANT& v) { V_VT(&v) = VT_ERROR, V_ERROR(&v) = E_FAIL; }, nullptr, 13},
        {"array",
         [](VARIANT& v) {
             V_VT(&v) = VT_ARRAY | VT_UI1, V_ARRAY(&v) = SafeArrayCreateVector(VT_UI1, 0, 2);
         },
         nullptr, 13},
        {"no object", [](VARIANT& v) { V_VT(&v) = VT_DISPATCH, V_DISPATCH(&v) = nullptr; }, nullptr,
         13},
    };
    for (const VariantCase& c : cases) {
        SCOPED_TRACE(c.Name);
        ComVariant value;
        c.Make(*value.Get());
        if (c.Text) {
            EXPECT_EQ(FromVariant(*value.Get()).ToText(), c.Text);
        } else {
            try {
                FromVariant(*value.Get()).ToText();
                ADD_FAILURE() << "no error raised";
            } catch (const VbError& e) {
                EXPECT_EQ(e.Number(), c.Error);
            }
        }
        if (V_VT(value.Get()) & VT_BYREF) V_VT(value.Get()) = VT_EMPTY;  // not ours to free
    }
    try {
        ComVariant null;
        V_VT(null.Get()) = VT_NULL;
        FromVariant(*null.Get()).ToText();
        ADD_FAILURE() << "Null converted";
    } catch (const VbError& e) {
        EXPECT_STREQ(e.Description(), "Invalid use of Null");
    }
}

TEST(ComBridge, ValuesHandedToTheBusinessObjectKeepTheirKind) {
    struct Case {
        Variant Value;
        VARTYPE Type;
        const char* Text;
    } cases[] = {
        {Variant("COM3"), VT_BSTR, "COM3"},  {Variant(true), VT_BOOL, "True"},
        {Variant(int32_t{-5}), VT_I4, "-5"}, {Variant(2.5), VT_R8, "2.5"},
        {Variant(), VT_EMPTY, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Text);
        ComVariant v;
        ToVariant(c.Value, v.Put());
        EXPECT_EQ(V_VT(v.Get()), c.Type);
        EXPECT_EQ(FromVariant(*v.Get()).ToText(), c.Text);
    }
}

void SetError(const wchar_t* description) {
    ComPtr<ICreateErrorInfo> create;
    ASSERT_HRESULT_SUCCEEDED(CreateErrorInfo(create.Put()));
    create->SetDescription(const_cast<LPOLESTR>(description));
    SetErrorInfo(0, create.As<IErrorInfo>().Get());
}

TEST(ComBridge, FailingHresultsBecomeTheCoresErrors) {
    struct Case {
        const char* Name;
        HRESULT Hr;
        const wchar_t* Description;  // set as the error object, or null for none
        int32_t Number;
        const char* Text;  // expected description (prefix)
    } cases[] = {
        {"automation error with its description", MAKE_HRESULT(1, FACILITY_CONTROL, 91),
         L"Master antwortet nicht", 91, "Master antwortet nicht"},
        {"automation error without description", MAKE_HRESULT(1, FACILITY_CONTROL, 13), nullptr, 13,
         "Type mismatch"},
        {"system error with a description", E_FAIL, L"device gone", static_cast<int32_t>(E_FAIL),
         "device gone"},
        {"system error without error object", E_ACCESSDENIED, nullptr,
         static_cast<int32_t>(E_ACCESSDENIED), "Automation error"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        ClearErrorInfo();
        if (c.Description) SetError(c.Description);
        const VbError e = ErrorOf(c.Hr);
        EXPECT_EQ(e.Number(), c.Number);
        EXPECT_EQ(std::string(e.Description()).rfind(c.Text, 0), 0u) << e.Description();
    }
    EXPECT_NO_THROW(Check(S_OK));
    EXPECT_NO_THROW(Check(S_FALSE));
    EXPECT_THROW(Check(E_POINTER), VbError);
}

// The bridge over a COM business object over a scripted core bridge: every call, answer and
// error makes the round trip through COM unchanged.
TEST(ComBridge, RoundTripThroughACOMBusinessObject) {
    auto fake = std::make_shared<FakeBridge>();
    fake->Answer("USBDevice", "COM3");
    fake->Answer("IOL::Connect", true);
    fake->Answer("Language", int32_t{1031});
    fake->Fail("IOL::GetMode", 91, "Master antwortet nicht");
    fake->FailSetItem("LOGGER", 70);

    ComPtr<IDtm> dtm;
    ASSERT_HRESULT_SUCCEEDED(BusinessObject::Create(fake, {}, __uuidof(IDtm), dtm.PutVoid()));
    std::shared_ptr<kestrova::IGuiBridge> bridge = MakeComBridge(dtm.Get());

    bridge->RegisterGui("Kestrova.DTMGUI", "7");
    EXPECT_EQ(bridge->SendCommand("USBDevice").ToText(), "COM3");
    EXPECT_EQ(bridge->SendCommand("IOL::Connect").ToText(), "True");
    EXPECT_EQ(bridge->SendCommand("Language").ToText(), "1031");
    EXPECT_EQ(bridge->SendCommand("IOL::Unknown").ToText(), "");
    try {
        bridge->SendCommand("IOL::GetMode");
        ADD_FAILURE() << "no error";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), 91);
        EXPECT_STREQ(e.Description(), "Master antwortet nicht");
    }
    try {
        bridge->SetItem("LOGGER", "line");
        ADD_FAILURE() << "no error";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), 70);
        EXPECT_STREQ(e.Description(), "Permission denied");
    }
    bridge->SetItem("USBDevice", "COM4");
    bridge->UnregisterGui("7");
    bridge->CloseGui("7");
    bridge->NotifyGuiReleased();

    using Call = FakeBridge::Call;
    EXPECT_EQ(fake->Log(), (std::vector<Call>{
                               {"RegisterGui", "Kestrova.DTMGUI", "7"},
                               {"SendCommand", "USBDevice", {}},
                               {"SendCommand", "IOL::Connect", {}},
                               {"SendCommand", "Language", {}},
                               {"SendCommand", "IOL::Unknown", {}},
                               {"SendCommand", "IOL::GetMode", {}},
                               {"SetItem", "LOGGER", "line"},
                               {"SetItem", "USBDevice", "COM4"},
                               {"UnregisterGui", "7", {}},
                               {"CloseGui", "7", {}},
                               {"NotifyGuiReleased", {}, {}},
                           }));
}

}  // namespace

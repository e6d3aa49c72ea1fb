// The control as a frame reaches it: Init and PrepareToRelease by vtable and through IDispatch,
// with a scripted business object in COM form recording the traffic.
#include "DtmGuiObject.h"

#include <gtest/gtest.h>

#include "BusinessObject.h"
#include "link/testing/FakeBridge.h"

using namespace kestrova;
using namespace kestrova::win;
using Call = FakeBridge::Call;

namespace {

std::string FunctionCall(const std::string& functionId) {
    return R"(<FDT xmlns="x-schema:DTMFunctionCallSchema.xml"><FunctionCall functionId=")" +
           functionId + R"("/></FDT>)";
}

// An object that offers IDtm alone, or IDtm and IGuiBridge without the release notification.
class PartialDtm final : public DispatchOf<IDtm> {
  public:
    explicit PartialDtm(IUnknown* bridge) : bridge_(bridge) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        *out = nullptr;
        if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(IDtm))
            *out = static_cast<IDtm*>(this);
        else if (iid == __uuidof(::IGuiBridge) && bridge_)
            return bridge_->QueryInterface(iid, out);
        if (!*out) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (!left) delete this;
        return left;
    }

  private:
    ULONG refs_ = 1;
    ComPtr<IUnknown> bridge_;
};

// A control and a recording business object, as a frame holds them.
struct Rig {
    std::shared_ptr<FakeBridge> fake = std::make_shared<FakeBridge>();
    ComPtr<IDtm> dtm;
    ComPtr<IDtmActiveXControl> control;
    std::vector<std::string> messages;

    Rig() {
        fake->Answer("DTMDate", "2024-11-18");
        fake->Answer("DTMVersion", "1.4.2");
        fake->Answer("Language", int32_t{1033});
        fake->Answer("USBDevice", "COM3");
        fake->Answer("IOL::Connect", true);
        fake->Answer("ConnectionState", "ONLINE+,TRUE");
        EXPECT_HRESULT_SUCCEEDED(BusinessObject::Create(fake, {}, __uuidof(IDtm), dtm.PutVoid()));
        EXPECT_HRESULT_SUCCEEDED(
            DtmGuiObject::Create(__uuidof(IDtmActiveXControl), control.PutVoid()));
        WindowsServices& services = static_cast<DtmGuiObject*>(control.Get())->Services();
        services.SetMessageBox([this](const std::string& text, int, const std::string&) {
            messages.push_back(text);
            return 1;
        });
        services.SetInventory([] { return std::vector<ui::InventoryRecord>{}; });
    }

    bool Init(const std::string& functionId, IDtm* business, bool late) {
        Bstr invokeId("invoke-7"), call(FunctionCall(functionId));
        VARIANT_BOOL result = VARIANT_FALSE;
        if (!late) {
            EXPECT_HRESULT_SUCCEEDED(control->Init(invokeId.Get(), call.Get(), business, &result));
            return result != VARIANT_FALSE;
        }
        VARIANT args[3];  // last argument first
        V_VT(&args[0]) = VT_DISPATCH, V_DISPATCH(&args[0]) = business;
        V_VT(&args[1]) = VT_BSTR, V_BSTR(&args[1]) = call.Get();
        V_VT(&args[2]) = VT_BSTR, V_BSTR(&args[2]) = invokeId.Get();
        return Invoke(L"Init", 1, args, 3);
    }
    bool Release(bool late) {
        if (!late) {
            VARIANT_BOOL result = VARIANT_FALSE;
            EXPECT_HRESULT_SUCCEEDED(control->PrepareToRelease(&result));
            return result != VARIANT_FALSE;
        }
        return Invoke(L"PrepareToRelease", 2, nullptr, 0);
    }
    // Late-bound call by name; checks the name resolves to the FDT dispatch id.
    bool Invoke(const wchar_t* name, DISPID expectedId, VARIANT* args, UINT count) {
        DISPID id = 0;
        LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
        EXPECT_HRESULT_SUCCEEDED(control->GetIDsOfNames(IID_NULL, names, 1, 0, &id));
        EXPECT_EQ(id, expectedId);
        DISPPARAMS params = {args, nullptr, count, 0};
        ComVariant result;
        EXPECT_HRESULT_SUCCEEDED(control->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params,
                                                 result.Put(), nullptr, nullptr));
        EXPECT_EQ(V_VT(result.Get()), VT_BOOL);
        return V_BOOL(result.Get()) != VARIANT_FALSE;
    }
    // Lets the message loop run, as the frame does between calls.
    static void Pump(DWORD ms) {
        const ULONGLONG end = GetTickCount64() + ms;
        while (GetTickCount64() < end) {
            MSG msg;
            while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&msg);
            Sleep(5);
        }
    }
    std::vector<Call> Traffic(const std::vector<std::string>& ops) const {
        std::vector<Call> out;
        for (const Call& c : fake->Log())
            for (const std::string& op : ops)
                if (c.Op == op || (c.Op == "SendCommand" && c.Text == op)) out.push_back(c);
        return out;
    }
};

TEST(DtmGuiObject, InitAndReleaseByVtableAndThroughIDispatch) {
    for (bool late : {false, true}) {
        for (const char* functionId : {"1", "2", "3", " 3 "}) {
            SCOPED_TRACE(std::string(late ? "IDispatch" : "vtable") + " functionId " + functionId);
            Rig rig;
            EXPECT_TRUE(rig.Init(functionId, rig.dtm.Get(), late));
            EXPECT_TRUE(rig.messages.empty());
            EXPECT_TRUE(rig.Release(late));
            EXPECT_EQ(rig.Traffic({"RegisterGui", "IOL::Connect", "IOL::Disconnect",
                                   "UnregisterGui", "NotifyGuiReleased"}),
                      (std::vector<Call>{{"RegisterGui", "Kestrova.DTMGUI", "invoke-7"},
                                         {"SendCommand", "IOL::Connect", {}},
                                         {"SendCommand", "IOL::Disconnect", {}},
                                         {"UnregisterGui", "invoke-7", {}},
                                         {"NotifyGuiReleased", {}, {}}}));
        }
    }
}

TEST(DtmGuiObject, CallsThatFailInitQuietlyOrWithTheRegistrationMessage) {
    struct Case {
        const char* Name;
        std::string FunctionId;
        std::function<void(FakeBridge&)> Script;
        const char* Message;  // expected message box text, or null for none
    } cases[] = {
        {"unserved function id", "4", {}, nullptr},
        {"function id not a number", "x", {}, "Register fehler: Type mismatch"},
        {"failing business object", "2",
         [](FakeBridge& f) { f.Fail("DTMDate", 91, "Objektvariable nicht festgelegt"); },
         "Register fehler: Objektvariable nicht festgelegt"},
        {"failing registration", "1", [](FakeBridge& f) { f.Fail("USBDevice", 5); },
         "Register fehler: Invalid procedure call or argument"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        Rig rig;
        if (c.Script) c.Script(*rig.fake);
        EXPECT_FALSE(rig.Init(c.FunctionId, rig.dtm.Get(), false));
        EXPECT_EQ(rig.messages,
                  c.Message ? std::vector<std::string>{c.Message} : std::vector<std::string>{});
        EXPECT_EQ(rig.fake->Calls("RegisterGui"), 0);
        EXPECT_TRUE(rig.Release(true));  // and a release after a failed Init still succeeds
    }
}

TEST(DtmGuiObject, ABusinessObjectWithoutTheGuiInterfacesFailsInit) {
    for (bool withBridge : {false, true}) {
        SCOPED_TRACE(withBridge ? "IGuiBridge without IGuiReleaseNotify" : "IDtm alone");
        Rig rig;
        // The bridge is the rig's business object seen only through IGuiBridge.
        ComPtr<IUnknown> bridgeOnly;
        if (withBridge) rig.dtm->QueryInterface(__uuidof(::IGuiBridge), bridgeOnly.PutVoid());
        ComPtr<IDtm> partial(new PartialDtm(bridgeOnly.Get()), false);
        EXPECT_FALSE(rig.Init("2", partial.Get(), false));
        EXPECT_EQ(rig.messages, std::vector<std::string>{"Register fehler: Type mismatch"});
        EXPECT_TRUE(rig.Release(false));
    }
    Rig rig;
    EXPECT_FALSE(rig.Init("2", nullptr, false));
    EXPECT_EQ(rig.messages, std::vector<std::string>{"Register fehler: Object required"});
}

TEST(DtmGuiObject, TimersTickFromTheMessageLoopAndStopAtRelease) {
    Rig rig;
    ASSERT_TRUE(rig.Init("2", rig.dtm.Get(), false));
    Rig::Pump(800);
    const int polled = rig.fake->Count("ConnectionState");
    EXPECT_GE(polled, 1);
    EXPECT_TRUE(rig.Release(false));
    Rig::Pump(700);
    EXPECT_EQ(rig.fake->Count("ConnectionState"), polled);
}

TEST(DtmGuiObject, OneComIdentityAndNoStrangerInterfaces) {
    Rig rig;
    ComPtr<IUnknown> a, b;
    rig.control->QueryInterface(IID_IUnknown, a.PutVoid());
    ComPtr<IDispatch> dispatch = rig.control.As<IDispatch>();
    ASSERT_TRUE(dispatch);
    dispatch->QueryInterface(IID_IUnknown, b.PutVoid());
    EXPECT_EQ(a.Get(), b.Get());
    EXPECT_FALSE(rig.control.As<IClassFactory>());
    UINT count = 0;
    EXPECT_HRESULT_SUCCEEDED(dispatch->GetTypeInfoCount(&count));
    EXPECT_EQ(count, 1u);
}

}  // namespace

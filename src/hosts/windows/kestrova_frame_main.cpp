// kestrova-frame: plays an FDT frame. Creates the business object (the simulated master by
// default) and the control by their ProgIDs through the registry, calls Init with an FDT
// function call, runs the message loop so the control's timers tick, and calls
// PrepareToRelease. Uses only what any frame has: the registry and the COM interfaces.
#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ComTypes.h"
#include "Kestrova_h.h"

using namespace kestrova::win;

namespace {

constexpr const char* kUsage =
    "usage: kestrova-frame [--function ID] [--business PROGID] [--run MS] [--late]\n"
    "                      [--invoke ID] [--no-release]\n"
    "Creates the business object and Kestrova.DTMGUI by their ProgIDs, calls Init with an FDT\n"
    "function call, lets the control's timers run for MS milliseconds and releases it.\n"
    "  --function ID       functionId of the call: 1 configure, 2 expert, 3 about (2)\n"
    "  --business PROGID   the business object (Kestrova.Simulator)\n"
    "  --run MS            how long the message loop runs between Init and release (1000)\n"
    "  --late              call through IDispatch, as script frames do, not by vtable\n"
    "  --invoke ID         the invoke id handed to Init (kestrova-frame)\n"
    "Prints 'init true|false' and 'release true|false'. Exit status: 0 when both are true,\n"
    "1 when Init returned false, 2 for bad usage or a COM failure.\n";

struct Options {
    std::string function = "2";
    std::string business = "Kestrova.Simulator";
    std::string invokeId = "kestrova-frame";
    long runMs = 1000;
    bool late = false;
};

int Fail(const char* what, HRESULT hr) {
    std::fprintf(stderr, "kestrova-frame: %s failed (0x%08lX)\n", what,
                 static_cast<unsigned long>(hr));
    return 2;
}

std::string FunctionCall(const std::string& functionId) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><FDT xmlns="x-schema:DTMFunctionCallSchema.xml">)"
           R"(<FunctionCall functionId=")" +
           functionId + R"("/></FDT>)";
}

HRESULT CreateByProgId(const std::string& progId, REFIID iid, void** out) {
    CLSID clsid;
    const HRESULT hr = CLSIDFromProgID(Widen(progId).c_str(), &clsid);
    if (FAILED(hr)) return hr;
    return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid, out);
}

// Calls a member of the control by name through IDispatch; args in call order.
HRESULT CallLate(IDispatch* control, const wchar_t* name, VARIANT* args, UINT count, bool& result) {
    DISPID id = 0;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    HRESULT hr = control->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr)) return hr;
    // IDispatch takes the arguments last to first.
    for (UINT i = 0; i < count / 2; ++i) std::swap(args[i], args[count - 1 - i]);
    DISPPARAMS params = {args, nullptr, count, 0};
    ComVariant answer;
    hr = control->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, answer.Put(),
                         nullptr, nullptr);
    if (FAILED(hr)) return hr;
    if (FAILED(VariantChangeType(answer.Get(), answer.Get(), 0, VT_BOOL)))
        return DISP_E_TYPEMISMATCH;
    result = V_BOOL(answer.Get()) != VARIANT_FALSE;
    return S_OK;
}

HRESULT Init(IDtmActiveXControl* control, IDtm* dtm, const Options& o, bool late, bool& result) {
    Bstr invokeId(o.invokeId), call(FunctionCall(o.function));
    if (!late) {
        VARIANT_BOOL ok = VARIANT_FALSE;
        const HRESULT hr = control->Init(invokeId.Get(), call.Get(), dtm, &ok);
        result = ok != VARIANT_FALSE;
        return hr;
    }
    VARIANT args[3];
    V_VT(&args[0]) = VT_BSTR;
    V_BSTR(&args[0]) = invokeId.Get();
    V_VT(&args[1]) = VT_BSTR;
    V_BSTR(&args[1]) = call.Get();
    V_VT(&args[2]) = VT_DISPATCH;
    V_DISPATCH(&args[2]) = dtm;
    return CallLate(control, L"Init", args, 3, result);
}

HRESULT Release(IDtmActiveXControl* control, bool late, bool& result) {
    if (!late) {
        VARIANT_BOOL ok = VARIANT_FALSE;
        const HRESULT hr = control->PrepareToRelease(&ok);
        result = ok != VARIANT_FALSE;
        return hr;
    }
    return CallLate(control, L"PrepareToRelease", nullptr, 0, result);
}

// Dispatches messages (the control's timers among them) for the given time.
void RunMessageLoop(long ms) {
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(ms);
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    }
}

int RunFrame(const Options& o) {
    ComPtr<IDtm> dtm;
    HRESULT hr = CreateByProgId(o.business, __uuidof(IDtm), dtm.PutVoid());
    if (FAILED(hr)) return Fail(("creating " + o.business).c_str(), hr);
    ComPtr<IDtmActiveXControl> control;
    hr = CreateByProgId("Kestrova.DTMGUI", __uuidof(IDtmActiveXControl), control.PutVoid());
    if (FAILED(hr)) return Fail("creating Kestrova.DTMGUI", hr);

    bool initOk = false, releaseOk = false;
    hr = Init(control.Get(), dtm.Get(), o, o.late, initOk);
    if (FAILED(hr)) return Fail("Init", hr);
    std::printf("init %s\n", initOk ? "true" : "false");
    std::fflush(stdout);
    RunMessageLoop(o.runMs);
    hr = Release(control.Get(), o.late, releaseOk);
    if (FAILED(hr)) return Fail("PrepareToRelease", hr);
    std::printf("release %s\n", releaseOk ? "true" : "false");
    return initOk && releaseOk ? 0 : 1;
}

int Usage(const std::string& problem) {
    std::fprintf(stderr, "kestrova-frame: %s\n%s", problem.c_str(), kUsage);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc) return false;
            out = argv[++i];
            return true;
        };
        std::string v;
        if (arg == "--help" || arg == "-h") {
            std::printf("%s", kUsage);
            return 0;
        } else if (arg == "--late") {
            o.late = true;
        } else if (arg == "--function") {
            if (!value(o.function)) return Usage("--function needs an id");
        } else if (arg == "--business") {
            if (!value(o.business)) return Usage("--business needs a ProgID");
        } else if (arg == "--invoke") {
            if (!value(o.invokeId)) return Usage("--invoke needs an id");
        } else if (arg == "--run") {
            char* end = nullptr;
            if (!value(v) || (o.runMs = std::strtol(v.c_str(), &end, 10), *end) || o.runMs < 0 ||
                o.runMs > 3600000)
                return Usage("--run needs milliseconds (0 to 3600000)");
        } else {
            return Usage("unknown argument " + arg);
        }
    }
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return Fail("CoInitializeEx", E_FAIL);
    const int status = RunFrame(o);
    CoUninitialize();
    return status;
}

// kestrova-frame: plays an FDT frame. Creates the business object (the simulated master by
// default) and the control by their ProgIDs through the registry, calls Init with an FDT
// function call, runs the message loop so the control's timers tick, and calls
// PrepareToRelease. Uses only what any frame has: the registry and the COM interfaces, and with
// --show a window in which it sites the control as an OLE container. Its script mode instead
// hosts the control model itself with the same renderer, so scripted journeys run with real
// window messages.
#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "ComTypes.h"
#include "ControlSite.h"
#include "FrameWindow.h"
#include "Kestrova_h.h"
#include "ScreenScript.h"

using namespace kestrova::win;

namespace {

constexpr const char* kUsage =
    "usage: kestrova-frame [--function ID] [--business PROGID] [--run MS] [--late]\n"
    "                      [--invoke ID] [--show] [--size WxH] [--initnew-first]\n"
    "                      [--screenshot FILE]\n"
    "       kestrova-frame --script FILE [--language LCID] [--echo] [--screenshot FILE]\n"
    "Creates the business object and Kestrova.DTMGUI by their ProgIDs, calls Init with an FDT\n"
    "function call, lets the control's timers run for MS milliseconds and releases it.\n"
    "  --function ID       functionId of the call: 1 configure, 2 expert, 3 about (2)\n"
    "  --business PROGID   the business object (Kestrova.Simulator)\n"
    "  --run MS            how long the message loop runs between Init and release (1000)\n"
    "  --late              call through IDispatch, as script frames do, not by vtable\n"
    "  --invoke ID         the invoke id handed to Init (kestrova-frame)\n"
    "  --show              site the control in a frame window on screen and activate it in\n"
    "                      place (needs a display); the window resizes it\n"
    "  --size WxH          the frame window's inside in pixels (700x500)\n"
    "  --initnew-first     call InitNew before setting the client site, as ATL does\n"
    "  --screenshot FILE   save the frame as a BMP picture before releasing (implies --show)\n"
    "  --script FILE       run a kestrova-headless script (- for standard input) with the\n"
    "                      control drawn in the frame window and the script's user input sent\n"
    "                      to its windows as window messages; besides that language a line\n"
    "                      'screenshot FILE' saves the frame as it is then\n"
    "  --language LCID     with --script: the business object's Language item (1033)\n"
    "  --echo              with --script: print each line (as '$ LINE') before its output\n"
    "Prints 'init true|false' and 'release true|false'. Exit status: 0 when both are true,\n"
    "1 when Init returned false, 2 for bad usage or a COM failure. With --script: 0 when every\n"
    "line succeeded, 1 when a line failed.\n";

struct Options {
    std::string function = "2";
    std::string business = "Kestrova.Simulator";
    std::string invokeId = "kestrova-frame";
    long runMs = 1000;
    bool late = false;
    bool show = false;
    bool initNewFirst = false;
    int width = 700, height = 500;
    std::string screenshot;
    std::string script;
    ScreenScriptOptions scriptOptions;
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
// Closing the frame window ends it early.
void RunMessageLoop(long ms, const FrameWindow* window = nullptr) {
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(ms);
    for (ULONGLONG now = GetTickCount64(); now < end && !(window && window->Closed());
         now = GetTickCount64()) {
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

    // On screen the control is sited and activated in place before Init, as frames show it.
    std::unique_ptr<FrameWindow> window;
    ComPtr<ControlSite> site;
    if (o.show) {
        window = std::make_unique<FrameWindow>(L"Kestrova", o.width, o.height);
        if (!window->Handle())
            return Fail("creating the frame window (is there a display?)", E_FAIL);
        site = ComPtr<ControlSite>(ControlSite::Create(window->Handle()), false);
        hr = site->Attach(control.Get(), o.initNewFirst);
        if (FAILED(hr)) return Fail("activating the control in place", hr);
        window->OnResize = [&site] { site->Resize(); };
    }

    bool initOk = false, releaseOk = false;
    hr = Init(control.Get(), dtm.Get(), o, o.late, initOk);
    if (FAILED(hr)) return Fail("Init", hr);
    std::printf("init %s\n", initOk ? "true" : "false");
    std::fflush(stdout);
    RunMessageLoop(o.runMs, window.get());
    int status = 0;
    if (!o.screenshot.empty()) {
        std::string error;
        if (!SaveScreenshot(window->Handle(), o.screenshot, error)) {
            std::fprintf(stderr, "kestrova-frame: screenshot: %s\n", error.c_str());
            status = 2;
        }
    }
    hr = Release(control.Get(), o.late, releaseOk);
    if (FAILED(hr)) return Fail("PrepareToRelease", hr);
    std::printf("release %s\n", releaseOk ? "true" : "false");
    if (site) {
        window->OnResize = nullptr;
        site->Detach();
    }
    return status ? status : initOk && releaseOk ? 0 : 1;
}

int RunScript(const Options& o) {
    ScreenScriptOptions options = o.scriptOptions;
    options.screenshot = o.screenshot;
    if (o.script == "-") return RunScreenScript(std::cin, std::cout, options) ? 1 : 0;
    std::ifstream in(o.script);
    if (!in) {
        std::fprintf(stderr, "kestrova-frame: cannot read %s\n", o.script.c_str());
        return 2;
    }
    return RunScreenScript(in, std::cout, options) ? 1 : 0;
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
        } else if (arg == "--show") {
            o.show = true;
        } else if (arg == "--initnew-first") {
            o.initNewFirst = true;
        } else if (arg == "--echo") {
            o.scriptOptions.echo = true;
        } else if (arg == "--screenshot") {
            if (!value(o.screenshot)) return Usage("--screenshot needs a file");
            o.show = true;
        } else if (arg == "--script") {
            if (!value(o.script)) return Usage("--script needs a file");
        } else if (arg == "--size") {
            char* end = nullptr;
            if (!value(v) ||
                (o.width = static_cast<int>(std::strtol(v.c_str(), &end, 10)), *end != 'x') ||
                (o.height = static_cast<int>(std::strtol(end + 1, &end, 10)), *end) ||
                o.width < 100 || o.width > 4000 || o.height < 100 || o.height > 4000)
                return Usage("--size needs WIDTHxHEIGHT in pixels (100 to 4000 each)");
        } else if (arg == "--language") {
            char* end = nullptr;
            long lcid = 0;
            if (!value(v) || (lcid = std::strtol(v.c_str(), &end, 10), *end) || lcid < 1 ||
                lcid > 0xFFFF)
                return Usage("--language needs a locale id such as 1031 or 1033");
            o.scriptOptions.language = static_cast<int32_t>(lcid);
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
    const int status = o.script.empty() ? RunFrame(o) : RunScript(o);
    CoUninitialize();
    return status;
}

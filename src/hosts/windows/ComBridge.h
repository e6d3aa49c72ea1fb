// The business object reached through COM: the core's bridge over the business object's
// IGuiBridge and IGuiReleaseNotify, and the conversions between automation values and the
// core's values and errors.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <memory>

#include "ComTypes.h"
#include "link/IGuiBridge.h"
#include "tools/Vb.h"

struct IGuiBridge;
struct IGuiReleaseNotify;

namespace kestrova::win {

// An automation value as the runtime reads it: text, boolean, integers, floating point,
// currency and empty keep their kind; by-reference values are followed; dates, decimals and
// objects become text through the system conversion; arrays, errors and anything that does not
// convert raise Type mismatch (13).
Variant FromVariant(const VARIANT& value);
// The core's value as an automation value (text, boolean, numbers, empty, Null).
void ToVariant(const Variant& value, VARIANT* out);

// The core's error for a failing HRESULT: errors raised by automation components
// (FACILITY_CONTROL) keep their own number, others carry the HRESULT. The description comes from
// the error object when the callee set one, else from the system's message for the HRESULT.
VbError ErrorOf(HRESULT hr);
// Throws ErrorOf(hr) for a failing hr. Call ClearErrorInfo() before the call it checks.
void Check(HRESULT hr);
void ClearErrorInfo();

// The core's bridge over a business object. An object that lacks IGuiBridge or
// IGuiReleaseNotify fails every call with Type mismatch, as the runtime's typed assignment did.
std::shared_ptr<kestrova::IGuiBridge> MakeComBridge(IUnknown* dtm);

}  // namespace kestrova::win

// The class factory of each of our COM classes and the table of classes the library serves.
#pragma once

#include <windows.h>

#include <unknwn.h>

namespace kestrova::win {

using CreateFn = HRESULT (*)(REFIID iid, void** out);

// One class of the library: its identity, its registry names and how to make one.
struct ComClass {
    const CLSID* Clsid;
    const char* ProgId;
    const char* Description;
    bool IsControl;  // registered as an ActiveX control
    CreateFn Create;
};

// The classes of Kestrova.ocx: the control DTMGUI and the simulated business object.
const ComClass* ComClasses(size_t& count);

// The class factory of cls for iid (DllGetClassObject).
HRESULT GetClassFactory(const ComClass& cls, REFIID iid, void** out);

}  // namespace kestrova::win

#include "WmiInventory.h"

#include <objbase.h>
#include <oleauto.h>

#include "ComBridge.h"
#include "ComTypes.h"
#include "tools/Vb.h"

namespace kestrova::win {

namespace {

// Calls a member by name, as late-bound script code does. A property read uses GET|METHOD:
// some providers answer a plain property get with E_NOTIMPL.
HRESULT CallByName(IDispatch* object, const wchar_t* name, WORD flags, VARIANT* args, UINT count,
                   VARIANT* result) {
    DISPID id = 0;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    HRESULT hr = object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr)) return hr;
    DISPPARAMS params = {args, nullptr, count, 0};
    return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, result, nullptr,
                          nullptr);
}

std::string TextProperty(IDispatch* object, const wchar_t* name) {
    ComVariant value;
    ClearErrorInfo();
    Check(
        CallByName(object, name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, nullptr, 0, value.Put()));
    return FromVariant(*value.Get()).ToText();
}

}  // namespace

IDispatch* WmiInventory::Service() {
    if (!service_) {
        ClearErrorInfo();
        Check(CoGetObject(L"winmgmts:", nullptr, IID_IDispatch, service_.PutVoid()));
    }
    return service_.Get();
}

IDispatch* WmiInventory::Instances() {
    if (!instances_) {
        ComVariant query;
        V_VT(query.Get()) = VT_BSTR;
        V_BSTR(query.Get()) = Bstr("SELECT * FROM Win32_PnPEntity").Detach();
        ComVariant set;
        ClearErrorInfo();
        Check(CallByName(Service(), L"ExecQuery", DISPATCH_METHOD, query.Get(), 1, set.Put()));
        if (V_VT(set.Get()) != VT_DISPATCH || !V_DISPATCH(set.Get())) Raise(vberr::ObjectRequired);
        instances_ = ComPtr<IDispatch>(V_DISPATCH(set.Get()));
    }
    return instances_.Get();
}

namespace {

ComPtr<IEnumVARIANT> Enumerate(IDispatch* collection) {
    DISPPARAMS none = {};
    ComVariant enumerator;
    ClearErrorInfo();
    Check(collection->Invoke(DISPID_NEWENUM, IID_NULL, LOCALE_USER_DEFAULT,
                             DISPATCH_PROPERTYGET | DISPATCH_METHOD, &none, enumerator.Put(),
                             nullptr, nullptr));
    ComPtr<IEnumVARIANT> items;
    const VARIANT& v = *enumerator.Get();
    IUnknown* unknown = V_VT(&v) == VT_UNKNOWN    ? V_UNKNOWN(&v)
                        : V_VT(&v) == VT_DISPATCH ? V_DISPATCH(&v)
                                                  : nullptr;
    if (!unknown) Raise(vberr::ObjectRequired);
    Check(unknown->QueryInterface(IID_IEnumVARIANT, items.PutVoid()));
    return items;
}

}  // namespace

std::vector<ui::InventoryRecord> WmiInventory::Read() {
    ComPtr<IEnumVARIANT> items = Enumerate(Instances());
    std::vector<ui::InventoryRecord> records;
    for (;;) {
        ComVariant item;
        ULONG fetched = 0;
        if (items->Next(1, item.Put(), &fetched) != S_OK || fetched != 1) break;
        if (V_VT(item.Get()) != VT_DISPATCH || !V_DISPATCH(item.Get())) continue;
        try {
            ui::InventoryRecord record;
            record.DeviceID = TextProperty(V_DISPATCH(item.Get()), L"DeviceID");
            record.Name = TextProperty(V_DISPATCH(item.Get()), L"Name");
            records.push_back(std::move(record));
        } catch (const VbError&) {
            // A record without the properties says nothing about masters: go on with the next.
        }
    }
    return records;
}

}  // namespace kestrova::win

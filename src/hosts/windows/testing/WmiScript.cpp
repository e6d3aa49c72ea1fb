// WmiScript.dll: a stand-in for the "winmgmts:" moniker in a test prefix. Pointing
// HKCR\winmgmts\CLSID at this class makes CoGetObject("winmgmts:") bind to a service whose
// ExecQuery answers the Win32_PnPEntity records of a script file, so discovery reads real
// masters' records through its unchanged WMI path.
//
// The file is named by the environment variable KESTROVA_WMI_SCRIPT and read at each ExecQuery:
// one record per line, "DeviceID|Name"; a line without "|" is a record without properties.
#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "ComTypes.h"

using namespace kestrova::win;

namespace {

// {8552BA17-0E1E-4D30-B1D2-E75F6E2C7C31}
constexpr CLSID kWmiScriptClsid = {
    0x8552ba17, 0x0e1e, 0x4d30, {0xb1, 0xd2, 0xe7, 0x5f, 0x6e, 0x2c, 0x7c, 0x31}};

// Reference counting and QueryInterface for a class implementing the interfaces Is.
template <class Derived, class... Is>
class Object : public Is... {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid == IID_IUnknown) *out = static_cast<IUnknown*>(static_cast<First*>(this));
        ((iid == __uuidof(Is) ? (void)(*out = static_cast<Is*>(this)) : (void)0), ...);
        if (!*out) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (!left) delete static_cast<Derived*>(this);
        return left;
    }

  protected:
    virtual ~Object() = default;

  private:
    using First = std::tuple_element_t<0, std::tuple<Is...>>;
    std::atomic<ULONG> refs_{1};
};

// IDispatch by a table of member names; Call answers one member.
template <class Derived>
class Dispatch : public Object<Derived, IDispatch> {
  public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) override {
        const std::vector<std::wstring> members = static_cast<Derived*>(this)->Members();
        HRESULT hr = S_OK;
        for (UINT i = 0; i < count; ++i) {
            ids[i] = DISPID_UNKNOWN;
            for (size_t m = 0; m < members.size(); ++m)
                if (_wcsicmp(names[i], members[m].c_str()) == 0)
                    ids[i] = static_cast<DISPID>(m + 1);
            if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
        }
        return hr;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO*, UINT*) override {
        return static_cast<Derived*>(this)->Call(id, params, result);
    }
};

struct Record {
    std::wstring DeviceID, Name;
    bool HasProperties = true;
};

class Instance final : public Dispatch<Instance> {
  public:
    explicit Instance(Record r) : r_(std::move(r)) {}
    std::vector<std::wstring> Members() const {
        if (!r_.HasProperties) return {};
        return {L"DeviceID", L"Name"};
    }
    HRESULT Call(DISPID id, DISPPARAMS*, VARIANT* result) {
        if (!result || (id != 1 && id != 2)) return DISP_E_MEMBERNOTFOUND;
        V_VT(result) = VT_BSTR;
        V_BSTR(result) = SysAllocString((id == 1 ? r_.DeviceID : r_.Name).c_str());
        return S_OK;
    }

  private:
    Record r_;
};

class Enumerator final : public Object<Enumerator, IEnumVARIANT> {
  public:
    Enumerator(std::vector<Record> records, size_t at) : records_(std::move(records)), at_(at) {}
    HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* items, ULONG* fetched) override {
        ULONG n = 0;
        for (; n < count && at_ < records_.size(); ++n, ++at_) {
            V_VT(&items[n]) = VT_DISPATCH;
            V_DISPATCH(&items[n]) = new Instance(records_[at_]);
        }
        if (fetched) *fetched = n;
        return n == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        at_ = std::min<size_t>(records_.size(), at_ + count);
        return at_ < records_.size() ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        at_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** out) override {
        *out = new Enumerator(records_, at_);
        return S_OK;
    }

  private:
    std::vector<Record> records_;
    size_t at_;
};

class InstanceSet final : public Dispatch<InstanceSet> {
  public:
    explicit InstanceSet(std::vector<Record> records) : records_(std::move(records)) {}
    std::vector<std::wstring> Members() const { return {L"Count"}; }
    HRESULT Call(DISPID id, DISPPARAMS*, VARIANT* result) {
        if (!result) return E_POINTER;
        if (id == DISPID_NEWENUM) {
            V_VT(result) = VT_UNKNOWN;
            V_UNKNOWN(result) = new Enumerator(records_, 0);
            return S_OK;
        }
        if (id != 1) return DISP_E_MEMBERNOTFOUND;
        V_VT(result) = VT_I4;
        V_I4(result) = static_cast<LONG>(records_.size());
        return S_OK;
    }

  private:
    std::vector<Record> records_;
};

std::vector<Record> ReadScript() {
    std::vector<Record> records;
    wchar_t path[MAX_PATH] = {};
    if (!GetEnvironmentVariableW(L"KESTROVA_WMI_SCRIPT", path, MAX_PATH)) return records;
    std::ifstream in(Narrow(path));
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) continue;
        const size_t bar = line.find('|');
        if (bar == std::string::npos)
            records.push_back({L"", L"", false});
        else
            records.push_back({Widen(line.substr(0, bar)), Widen(line.substr(bar + 1))});
    }
    return records;
}

class Service final : public Dispatch<Service> {
  public:
    std::vector<std::wstring> Members() const { return {L"ExecQuery"}; }
    HRESULT Call(DISPID id, DISPPARAMS* params, VARIANT* result) {
        if (id != 1) return DISP_E_MEMBERNOTFOUND;
        if (!result || !params || params->cArgs < 1) return DISP_E_BADPARAMCOUNT;
        const VARIANT& query = params->rgvarg[params->cArgs - 1];
        if (V_VT(&query) != VT_BSTR || _wcsicmp(V_BSTR(&query), L"SELECT * FROM Win32_PnPEntity"))
            return WBEM_E_INVALID_QUERY;
        V_VT(result) = VT_DISPATCH;
        V_DISPATCH(result) = new InstanceSet(ReadScript());
        return S_OK;
    }

  private:
    static constexpr HRESULT WBEM_E_INVALID_QUERY = static_cast<HRESULT>(0x80041017);
};

class Moniker final : public Object<Moniker, IMoniker> {
  public:
    HRESULT STDMETHODCALLTYPE BindToObject(IBindCtx*, IMoniker*, REFIID iid, void** out) override {
        auto* service = new Service();
        const HRESULT hr = service->QueryInterface(iid, out);
        service->Release();
        return hr;
    }
    // Nothing else of a moniker is asked for by CoGetObject.
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) override {
        *id = kWmiScriptClsid;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsDirty() override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE Load(IStream*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Save(IStream*, BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSizeMax(ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BindToStorage(IBindCtx*, IMoniker*, REFIID, void**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Reduce(IBindCtx*, DWORD, IMoniker**, IMoniker** reduced) override {
        *reduced = this;
        AddRef();
        return MK_S_REDUCED_TO_SELF;
    }
    HRESULT STDMETHODCALLTYPE ComposeWith(IMoniker*, BOOL, IMoniker**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Enum(BOOL, IEnumMoniker** out) override {
        *out = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsEqual(IMoniker* other) override {
        return other == this ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Hash(DWORD* hash) override {
        *hash = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsRunning(IBindCtx*, IMoniker*, IMoniker*) override {
        return S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE GetTimeOfLastChange(IBindCtx*, IMoniker*, FILETIME*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Inverse(IMoniker**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CommonPrefixWith(IMoniker*, IMoniker**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RelativePathTo(IMoniker*, IMoniker**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDisplayName(IBindCtx*, IMoniker*, LPOLESTR* name) override {
        *name = static_cast<LPOLESTR>(CoTaskMemAlloc(sizeof L"winmgmts:"));
        if (!*name) return E_OUTOFMEMORY;
        wcscpy(*name, L"winmgmts:");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE ParseDisplayName(IBindCtx*, IMoniker*, LPOLESTR, ULONG*,
                                               IMoniker**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE IsSystemMoniker(DWORD* kind) override {
        *kind = MKSYS_NONE;
        return S_FALSE;
    }
};

// The class object parses "winmgmts:" display names, as moniker classes do.
class ClassObject final : public Object<ClassObject, IParseDisplayName, IClassFactory> {
  public:
    HRESULT STDMETHODCALLTYPE ParseDisplayName(IBindCtx*, LPOLESTR name, ULONG* eaten,
                                               IMoniker** out) override {
        *eaten = static_cast<ULONG>(wcslen(name));
        *out = new Moniker();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
    *out = nullptr;
    if (clsid != kWmiScriptClsid) return CLASS_E_CLASSNOTAVAILABLE;
    auto* object = new ClassObject();
    const HRESULT hr = object->QueryInterface(iid, out);
    object->Release();
    return hr;
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
    return S_FALSE;
}

// RAII owners of the COM and automation resources the control handles: interface pointers,
// BSTR, VARIANT and SAFEARRAY, plus the UTF-8 <-> UTF-16 conversions at the COM boundary (texts
// are UTF-8 inside the program).
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>
#include <string_view>
#include <utility>

namespace kestrova::win {

std::wstring Widen(std::string_view utf8);
std::string Narrow(std::wstring_view utf16);
// The system's ANSI code page, for the *A functions of the API.
std::string ToAnsi(std::string_view utf8);
std::string FromAnsi(std::string_view ansi);

// An owned interface pointer.
template <class T>
class ComPtr {
  public:
    ComPtr() = default;
    explicit ComPtr(T* p, bool addRef = true) : p_(p) {
        if (p_ && addRef) p_->AddRef();
    }
    ComPtr(const ComPtr& o) : ComPtr(o.p_) {}
    ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
    ComPtr& operator=(ComPtr o) noexcept {
        std::swap(p_, o.p_);
        return *this;
    }
    ~ComPtr() { Reset(); }

    void Reset() {
        if (p_) std::exchange(p_, nullptr)->Release();
    }
    T* Get() const { return p_; }
    T* operator->() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }
    // For out-parameters: releases what is held first.
    T** Put() {
        Reset();
        return &p_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }
    // Hands the reference to the caller (an out-parameter of ours).
    T* Detach() { return std::exchange(p_, nullptr); }

    // The object seen through another interface; empty when it has none.
    template <class U>
    ComPtr<U> As() const {
        ComPtr<U> other;
        if (p_) p_->QueryInterface(__uuidof(U), other.PutVoid());
        return other;
    }

  private:
    T* p_ = nullptr;
};

// An owned BSTR.
class Bstr {
  public:
    Bstr() = default;
    explicit Bstr(std::string_view utf8);
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    Bstr(Bstr&& o) noexcept : s_(std::exchange(o.s_, nullptr)) {}
    Bstr& operator=(Bstr&& o) noexcept {
        std::swap(s_, o.s_);
        return *this;
    }
    ~Bstr() { SysFreeString(s_); }

    BSTR Get() const { return s_; }
    BSTR* Put() {
        SysFreeString(std::exchange(s_, nullptr));
        return &s_;
    }
    BSTR Detach() { return std::exchange(s_, nullptr); }
    std::string Utf8() const { return ToUtf8(s_); }

    // A BSTR (null is the empty text) as UTF-8.
    static std::string ToUtf8(BSTR s) { return Narrow({s ? s : L"", s ? SysStringLen(s) : 0}); }

  private:
    BSTR s_ = nullptr;
};

// An owned VARIANT, cleared on destruction.
class ComVariant {
  public:
    ComVariant() { VariantInit(&v_); }
    ComVariant(const ComVariant&) = delete;
    ComVariant& operator=(const ComVariant&) = delete;
    ~ComVariant() { VariantClear(&v_); }

    VARIANT* Get() { return &v_; }
    const VARIANT* Get() const { return &v_; }
    // Cleared for use as an out-parameter.
    VARIANT* Put() {
        VariantClear(&v_);
        return &v_;
    }

  private:
    VARIANT v_;
};

// An owned SAFEARRAY.
class SafeArray {
  public:
    SafeArray() = default;
    explicit SafeArray(SAFEARRAY* a) : a_(a) {}
    SafeArray(const SafeArray&) = delete;
    SafeArray& operator=(const SafeArray&) = delete;
    SafeArray(SafeArray&& o) noexcept : a_(std::exchange(o.a_, nullptr)) {}
    ~SafeArray() {
        if (a_) SafeArrayDestroy(a_);
    }

    SAFEARRAY* Get() const { return a_; }
    SAFEARRAY* Detach() { return std::exchange(a_, nullptr); }

  private:
    SAFEARRAY* a_ = nullptr;
};

}  // namespace kestrova::win
